// A bench for each block of ../rtl, of which +block=NAME runs one.
module luma_filter_bench;
  localparam INPUTS = 4 * 8 + 5, OUTPUTS = 8, LATENCY = 4;
  localparam NAME = "luma_filter";
  `include "bench.svh"
  vantor_luma_filter dut (
      .clk(clk), .p0(in[7:0]), .p1(in[15:8]), .p2(in[23:16]), .p3(in[31:24]), .phase(in[36:32]), .q(out)
  );
`ifdef VANTOR_DPI
  task stimulate;
    in = {5'(random()), sample(), sample(), sample(), sample()};
    expected = vantor_dpi::luma_filter(in[7:0], in[15:8], in[23:16], in[31:24], in[36:32]);
  endtask
`endif
endmodule

module chroma_filter_bench;
  localparam INPUTS = 8 * 8 + 6 + 5, OUTPUTS = 2 * 8, LATENCY = 3;
  localparam NAME = "chroma_filter";
  `include "bench.svh"
  vantor_chroma_filter dut (
      .clk(clk), .left_top(in[15:0]), .right_top(in[31:16]), .left_bottom(in[47:32]), .right_bottom(in[63:48]),
      .phase_x(in[69:64]), .phase_y(in[74:70]), .u(out[7:0]), .v(out[15:8])
  );
`ifdef VANTOR_DPI
  function automatic bit [7:0] filtered(input int component);
    return vantor_dpi::chroma_filter_2d(in[8*component+:8], in[16+8*component+:8], in[32+8*component+:8],
                                        in[48+8*component+:8], in[69:64], in[74:70]);
  endfunction
  task stimulate;
    in = {5'(random()), 6'(below(33)), sample(), sample(), sample(), sample(), sample(), sample(), sample(), sample()};
    expected = {filtered(1), filtered(0)};
  endtask
`endif
endmodule

module virtual_position_bench;
  localparam INPUTS = 13 + 16 + 3 + 1, OUTPUTS = 6 + 10, LATENCY = 2;
  localparam NAME = "virtual_position";
  `include "bench.svh"
  wire [15:0] across;
  wire [15:0] down;
  reg [1:0] is_y = 2'b0;  // of the positions on their way
  always @(posedge clk) is_y <= {is_y[0], in[32]};
  vantor_virtual_position #(.CELL(512)) dut_x (
      .clk(clk), .position(in[12:0]), .scale(in[28:13]), .shifter(in[31:29]), .cell_number(across[15:10]),
      .place(across[9:0])
  );
  vantor_virtual_position #(.CELL(384)) dut_y (
      .clk(clk), .position(in[12:0]), .scale(in[28:13]), .shifter(in[31:29]), .cell_number(down[15:10]),
      .place(down[9:0])
  );
  assign out = is_y[1] ? down : across;
`ifdef VANTOR_DPI
  // Sizes that the device takes, the largest every second time.
  task stimulate;
    int is_down, size, position, scale, shifter, inv_scale, cell_number, place;
    is_down = below(2);
    size = is_down != 0 ? 64 + 2 * below(3041) : 96 + 16 * below(507);
    if (random() >> 31 != 0) size = is_down != 0 ? 6144 : 8192;
    position = below(size);
    check(vantor_dpi::axis(is_down, size, scale, shifter, inv_scale));
    check(vantor_dpi::virtual_position(is_down, size, position, cell_number, place));
    in = {1'(is_down), 3'(shifter), 16'(scale), 13'(position)};
    expected = {6'(cell_number), 10'(place)};
  endtask
`endif
endmodule

module grid_position_bench;
  localparam INPUTS = 384 + 6 + 10 + 6 + 9 + 14 + 13 + 14, OUTPUTS = 24 + 1 + 14 + 8, LATENCY = 10;
  localparam NAME = "grid_position";
  `include "bench.svh"
  // The index counts inside the source only.
  wire [23:0] coordinate;
  wire is_inside;
  wire [13:0] index;
  wire [7:0] fraction;
  assign out = {coordinate, is_inside, is_inside ? index : 14'd0, fraction};
  vantor_grid_position dut (
      .clk(clk), .nodes(in[383:0]), .cell_x(in[389:384]), .place_x(in[399:390]), .cell_y(in[405:400]),
      .place_y(in[414:406]), .inv_scale(in[428:415]), .position(in[441:429]), .size(in[455:442]),
      .coordinate(coordinate), .is_inside(is_inside), .index(index), .fraction(fraction)
  );
`ifdef VANTOR_DPI
  // Nodes of one order of magnitude, many of them its extremes; or all of them close to one.
  function automatic int node(input int magnitude, input int near);
    int limit = 1 << magnitude;
    if (near == 1) return limit - 1 - below(16);
    if (near == 2) return below(16) - limit;
    case (random() >> 30)
      0: return -limit;
      1: return limit - 1;
      default: return below(2 * limit) - limit;
    endcase
  endfunction
  // The first, the last or any cell, and in it one end, its middle or any place.
  function automatic int cell_number();
    int r = below(64);
    return r < 16 ? 1 : r < 32 ? 32 : r - 31;
  endfunction
  function automatic int place(input int size);
    case (random() >> 30)
      0: return size / 2;
      1: return random() >> 31 != 0 ? size - 1 : 0;
      default: return below(size);
    endcase
  endfunction
  task stimulate;
    int is_y, size, position, scale, shifter, inv_scale, cell_x, place_x, cell_y, place_y;
    int displaced, coordinate_of, index_of, fraction_of, magnitude, near;
    bit [15:0][31:0] nodes;
    bit [15:0][23:0] packed_nodes;
    is_y = below(2);
    size = is_y != 0 ? 64 + 2 * below(3041) : 96 + 16 * below(507);
    if (random() >> 31 != 0) size = is_y != 0 ? 6144 : 8192;
    position = random() >> 30 == 0 ? size - 1 : below(size);
    cell_x = cell_number();
    cell_y = cell_number();
    place_x = place(512);
    place_y = place(384);
    magnitude = random() >> 30 == 0 ? 23 : 4 + below(20);
    near = below(16);
    for (int i = 0; i < 16; i++) begin
      nodes[i] = node(magnitude, near);
      packed_nodes[i] = nodes[i][23:0];
    end
    check(vantor_dpi::axis(is_y, size, scale, shifter, inv_scale));
    check(vantor_dpi::displacement(nodes, cell_x, place_x, cell_y, place_y, displaced));
    check(vantor_dpi::source_position(is_y, size, position, displaced, coordinate_of, index_of, fraction_of));
    in = {14'(size), 13'(position), 14'(inv_scale), 9'(place_y), 6'(cell_y), 10'(place_x), 6'(cell_x), packed_nodes};
    expected = {24'(coordinate_of), 1'(index_of >= 0), index_of >= 0 ? 14'(index_of) : 14'd0, 8'(fraction_of)};
  endtask
`endif
endmodule

module source_taps_bench;
  localparam INPUTS = 2 * 14, OUTPUTS = 6 * 14, LATENCY = 1;
  localparam NAME = "source_taps";
  `include "bench.svh"
  vantor_source_taps dut (
      .clk(clk), .index(in[13:0]), .size(in[27:14]), .luma(out[55:0]), .chroma(out[83:56])
  );
`ifdef VANTOR_DPI
  // Every second index is at a border.
  task stimulate;
    int size, index;
    bit [3:0][31:0] luma;
    bit [1:0][31:0] chroma;
    size = 64 + 2 * below(4065);
    case (random() >> 30)
      0: index = below(4);
      1: index = size - below(4);
      default: index = below(size + 1);
    endcase
    check(vantor_dpi::luma_taps(index, size, luma));
    check(vantor_dpi::chroma_taps(index, size, chroma));
    in = {14'(size), 14'(index)};
    expected = {chroma[1][13:0], chroma[0][13:0], luma[3][13:0], luma[2][13:0], luma[1][13:0], luma[0][13:0]};
  endtask
`endif
endmodule

module bicubic_sampler_bench;
  localparam INPUTS = 16 * 8 + 2 * 8, OUTPUTS = 8, LATENCY = 5;
  localparam NAME = "bicubic_sampler";
  `include "bench.svh"
  vantor_bicubic_sampler dut (
      .clk(clk), .samples(in[127:0]), .fraction_x(in[135:128]), .fraction_y(in[143:136]), .q(out)
  );
`ifdef VANTOR_DPI
  task stimulate;
    bit [15:0][7:0] p;
    for (int i = 0; i < 16; i++) p[i] = sample();
    in = {16'(random()), p};
    expected = vantor_dpi::bicubic_sampler(in[127:0], in[135:128], in[143:136]);
  endtask
`endif
endmodule

module chroma_sampler_bench;
  localparam INPUTS = 8 * 8 + 2 * 9, OUTPUTS = 2 * 8, LATENCY = 3;
  localparam NAME = "chroma_sampler";
  `include "bench.svh"
  vantor_chroma_sampler dut (
      .clk(clk), .left_top(in[15:0]), .right_top(in[31:16]), .left_bottom(in[47:32]), .right_bottom(in[63:48]),
      .odd_x(in[64]), .fraction_x(in[72:65]), .odd_y(in[73]), .fraction_y(in[81:74]), .u(out[7:0]), .v(out[15:8])
  );
`ifdef VANTOR_DPI
  function automatic bit [7:0] sampled(input int component);
    return vantor_dpi::chroma_sampler(in[8*component+:8], in[16+8*component+:8], in[32+8*component+:8],
                                      in[48+8*component+:8], 14'(in[64]), in[72:65], 14'(in[73]), in[81:74]);
  endfunction
  task stimulate;
    bit [7:0][7:0] p;
    for (int i = 0; i < 8; i++) p[i] = sample();
    in = {18'(random()), p};
    expected = {sampled(1), sampled(0)};
  endtask
`endif
endmodule

module blocks;
  luma_filter_bench luma_filter ();
  chroma_filter_bench chroma_filter ();
  virtual_position_bench virtual_position ();
  grid_position_bench grid_position ();
  source_taps_bench source_taps ();
  bicubic_sampler_bench bicubic_sampler ();
  chroma_sampler_bench chroma_sampler ();
endmodule
