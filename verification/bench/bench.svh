// The body of a bench, in a module with the parameters INPUTS and OUTPUTS (bits of a vector), LATENCY (clocks) and
// NAME. It drives one vector per clock and compares what comes out LATENCY clocks later, up to the first difference.
//
// With VANTOR_DPI the module's task `stimulate` makes the vectors: it sets `in` and `expected`, of the model. Plusargs:
// +samples=N (1000000 if absent), +seed=N, and +save=FILE, which writes the vectors. Without, +vectors=FILE reads them:
// in a line's hexadecimal number the expected bits are above those of the inputs.
  reg clk = 1'b0;
  reg [INPUTS-1:0] in = {INPUTS{1'b0}};
  reg [OUTPUTS-1:0] expected = {OUTPUTS{1'b0}};
  wire [OUTPUTS-1:0] out;

  // What is under way.
  reg [INPUTS-1:0] given[0:LATENCY-1];
  reg [OUTPUTS-1:0] wanted[0:LATENCY-1];
  integer samples = 1000000;
  integer sent = 0;
  integer compared = 0;
  reg [1023:0] file_name;

`ifdef VANTOR_DPI
  integer file = 0;
  int unsigned random_state = 1;

  // The same numbers in every simulator (xorshift).
  function automatic int unsigned random();
    random_state = random_state ^ (random_state << 13);
    random_state = random_state ^ (random_state >> 17);
    random_state = random_state ^ (random_state << 5);
    return random_state;
  endfunction

  function automatic int below(input int unsigned limit);
    return int'(random() % limit);
  endfunction

  // A sample: as often one of its extremes as any value.
  function automatic bit [7:0] sample();
    int unsigned r = random() >> 8;
    return r[9] ? r[7:0] : {8{r[8]}};
  endfunction

  task check(input int status);
    if (status < 0) $fatal(1, "%s", vantor_dpi::message());
  endtask

  task prepare;
    void'($value$plusargs("samples=%d", samples));
    void'($value$plusargs("seed=%d", random_state));
    if (random_state == 0) $fatal(1, "+seed: 0, expected another number");
    if ($value$plusargs("save=%s", file_name)) begin
      file = $fopen(file_name, "w");
      if (file == 0) $fatal(1, "%0s: cannot be written", file_name);
    end
  endtask

  task next;
    stimulate;
    if (file != 0) $fdisplay(file, "%h", {expected, in});
  endtask
`else
  integer file;
  reg [OUTPUTS+INPUTS-1:0] vector;

  task prepare;
    begin
      if (!$value$plusargs("vectors=%s", file_name)) $fatal(1, "+vectors=FILE is missing");
      file = $fopen(file_name, "r");
      if (file == 0) $fatal(1, "%0s: cannot be read", file_name);
    end
  endtask

  // The end of the file ends the samples.
  task next;
    if ($fscanf(file, "%h\n", vector) == 1) {expected, in} = vector;
    else if (sent == 0) $fatal(1, "%0s: no vectors", file_name);
    else samples = sent;
  endtask
`endif

  task compare;
    integer slot;
    begin
      slot = compared % LATENCY;
      if (out !== wanted[slot]) begin
        $fatal(1, "%0s: sample %0d of %0d differs: inputs %h, output %h, expected %h", NAME, compared, samples,
               given[slot], out, wanted[slot]);
      end
      compared = compared + 1;
    end
  endtask

  reg [255:0] chosen;
  initial begin
    if ($value$plusargs("block=%s", chosen) && chosen == NAME) begin
      prepare;
      while (compared < samples) begin
        if (sent < samples) begin
          next;
          given[sent%LATENCY] = in;
          wanted[sent%LATENCY] = expected;
        end
        sent = sent + 1;
        #1 clk = 1'b1;
        #1 clk = 1'b0;
        if (sent >= LATENCY) compare;
      end
      $display("%0s: %0d samples, 0 differ", NAME, samples);
      $finish(0);
    end
  end
