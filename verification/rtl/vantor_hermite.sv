// A cell of the cubic Hermite curve through four nodes, b and c its ends: their difference, the change of the slopes
// (doubled central differences), and how far the curve is from its chord. In the first and the last cell, whose outer
// node is missing, the curve is a parabola.
module vantor_hermite #(
    parameter BITS = 24
) (
    input  logic signed [BITS-1:0] a,
    input  logic signed [BITS-1:0] b,
    input  logic signed [BITS-1:0] c,
    input  logic signed [BITS-1:0] d,
    input  logic                   is_first,
    input  logic                   is_last,
    output logic signed [BITS  :0] difference,
    output logic signed [BITS+2:0] slope_change,
    output logic signed [BITS+2:0] excess
);
  wire signed [BITS+3:0] chord = 4 * (c - b);
  wire signed [BITS:0] inner_left = c - a;
  wire signed [BITS:0] inner_right = d - b;
  wire signed [BITS+3:0] left = is_first ? chord - inner_right : inner_left;
  wire signed [BITS+3:0] right = is_last ? chord - inner_left : inner_right;
  assign difference   = c - b;
  assign slope_change = right - left;
  assign excess       = chord - left - right;
endmodule
