// The weights of the four taps at a fraction in 1/256: the cubic convolution kernel, in 1/256 and rounded. Two tables,
// as the weights of the last two taps are those of the first two seen from the other side.
module vantor_tap_weights (
    input  logic              clk,
    input  logic        [7:0] fraction,
    output logic signed [9:0] w0,
    output logic signed [9:0] w1,
    output logic signed [9:0] w2,
    output logic signed [9:0] w3
);
  logic signed [9:0] outer[0:256];
  logic signed [9:0] inner[0:256];
  integer p;
  initial begin
    for (p = 0; p <= 256; p = p + 1) begin
      outer[p] = (512 * p * p - p * p * p - 65536 * p + 65536) >>> 17;
      inner[p] = (3 * p * p * p - 1280 * p * p + 33554432 + 65536) >>> 17;
    end
  end

  wire [8:0] across = 9'd256 - fraction;
  always_ff @(posedge clk) begin
    w0 <= outer[fraction];
    w1 <= inner[fraction];
    w2 <= inner[across];
    w3 <= outer[across];
  end
endmodule
