// The warp's chroma: bilinear between four samples each of U and V, which are two luma samples apart. One position per
// clock; the pair follows three clocks later. The parities are those of the luma indexes, the fractions those of the
// luma position, in 1/256.
`include "vantor_faults.svh"

module vantor_chroma_sampler (
    input  logic        clk,
    input  logic [15:0] left_top,      // U, and V above it
    input  logic [15:0] right_top,
    input  logic [15:0] left_bottom,
    input  logic [15:0] right_bottom,
    input  logic        odd_x,
    input  logic [ 7:0] fraction_x,
    input  logic        odd_y,
    input  logic [ 7:0] fraction_y,
    output logic [ 7:0] u,
    output logic [ 7:0] v
);
  `FAULT_NUMBER

  // From the left upper chroma sample, in 1/256 luma sample: 0 to 511.
  wire [9:0] x = {1'b0, `FAULT(`COLUMN_PARITY, 1'b0, !odd_x), fraction_x};
  wire [9:0] y = {1'b0, `FAULT(`ROW_PARITY, odd_y, !odd_y), fraction_y};
  wire [9:0] left = 10'd512 - x;
  wire [9:0] top = 10'd512 - y;

  // The upper weights are rounded, and the lower ones make up the rest.
  wire [19:0] right_top_product = top * x + 20'd256;
  wire [19:0] left_top_product = left * top + `FAULT(`CHROMA_WEIGHT, 20'd0, 20'd256);
  wire [9:0] right_top_weight = right_top_product >> 9;
  wire [9:0] left_top_weight = left_top_product >> 9;
  logic [9:0] weights_1[0:3];
  logic [63:0] samples_1;
  always_ff @(posedge clk) begin
    weights_1[0] <= left_top_weight;
    weights_1[1] <= right_top_weight;
    weights_1[2] <= left - left_top_weight;
    weights_1[3] <= x - right_top_weight;
    samples_1    <= {right_bottom, left_bottom, right_top, left_top};
  end

  wire [7:0] value[0:1];
  genvar i;
  generate
    for (i = 0; i < 2; i = i + 1) begin : component
      wire [16:0] sum = weights_1[0] * samples_1[8*i+:8] + weights_1[1] * samples_1[16+8*i+:8]
                      + weights_1[2] * samples_1[32+8*i+:8] + weights_1[3] * samples_1[48+8*i+:8];
      logic [16:0] sum_2;
      logic [ 7:0] value_3;
      wire  [16:0] rounded = sum_2 + `FAULT(`WARPED_TRUNCATED, 17'd0, 17'd256);
      always_ff @(posedge clk) begin
        sum_2   <= `SHORT_UNSIGNED(`WARPED_SHORT, sum, 17);
        value_3 <= rounded[16:9];
      end
      assign value[i] = value_3;
    end
  endgenerate
  assign u = `FAULT(`WARPED_EXCHANGED, value[1], value[0]);
  assign v = `FAULT(`WARPED_EXCHANGED, value[0], value[1]);
endmodule
