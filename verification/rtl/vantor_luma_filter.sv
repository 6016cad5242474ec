// The reduction's luma filter along one axis: the cubic convolution kernel in Horner form between p1 and p2, at phase /
// 32. One sample per clock; q follows four clocks later. Products are truncated, nothing is rounded.
`include "vantor_faults.svh"

module vantor_luma_filter (
    input  logic       clk,
    input  logic [7:0] p0,
    input  logic [7:0] p1,
    input  logic [7:0] p2,
    input  logic [7:0] p3,
    input  logic [4:0] phase,
    output logic [7:0] q
);
  `FAULT_NUMBER

  wire signed [8:0] s0 = {1'b0, `FAULT(`TAPS_SWAPPED, p3, p0)};
  wire signed [8:0] s1 = {1'b0, p1};
  wire signed [8:0] s2 = {1'b0, p2};
  wire signed [8:0] s3 = {1'b0, `FAULT(`TAPS_SWAPPED, p0, p3)};

  // The third-order term, and what does not depend on it.
  wire signed [ 5:0] t1 = {1'b0, phase};
  wire signed [10:0] cubed = 3 * (s1 - s2) + s3 - s0;
  wire signed [15:0] third_product = t1 * cubed + `FAULT(`THIRD_ROUNDED, 16'sd16, 16'sd0);
  wire signed [10:0] third = third_product >>> 5;
  logic signed [10:0] third_1;
  logic signed [11:0] squared_1;
  logic signed [ 8:0] slope_1;
  logic        [ 7:0] p1_1;
  logic        [ 4:0] phase_1;
  always_ff @(posedge clk) begin
    third_1   <= `SHORT(`THIRD_SHORT, third, 11);
    squared_1 <= 2 * s0 - 5 * s1 + 4 * s2 - s3;
    slope_1   <= s2 - s0;
    p1_1      <= p1;
    phase_1   <= phase;
  end

  // The second-order term.
  wire signed [ 5:0] t2 = {1'b0, phase_1};
  wire signed [11:0] sum = squared_1 + third_1;
  wire signed [11:0] kept_sum = `SHORT(`SUM_SHORT, sum, 12);
  wire signed [15:0] second_product = t2 * kept_sum;
  wire signed [10:0] second =
      `FAULT(`SECOND_LOGICAL, $signed(second_product[15:5]) & 11'sh3ff, $signed(second_product[15:5]));
  logic signed [10:0] second_2;
  logic signed [ 8:0] slope_2;
  logic        [ 7:0] p1_2;
  logic        [ 4:0] phase_2;
  always_ff @(posedge clk) begin
    second_2 <= `SHORT(`SECOND_SHORT, second, 11);
    slope_2  <= slope_1;
    p1_2     <= p1_1;
    phase_2  <= phase_1;
  end

  wire signed [ 5:0] t3 = {1'b0, `FAULT(`STALE_PHASE, phase_1, phase_2)};
  wire signed [10:0] first = slope_2 + second_2;
  wire signed [14:0] product = t3 * first;
  wire signed [14:0] kept_product = `SHORT(`PRODUCT_SHORT, product, 15);
  wire signed [14:0] rounding =
      `FAULT(`VALUE_ROUNDED, 15'sd32, `FAULT(`TOWARD_ZERO, {9'd0, {6{product[14]}}}, 15'sd0));
  wire signed [ 8:0] step = (kept_product + rounding) >>> 6;
  wire signed [ 8:0] base = {1'b0, p1_2};
  wire signed [ 9:0] value = base + step;
  logic signed [9:0] value_3;
  always_ff @(posedge clk) value_3 <= `SHORT(`VALUE_SHORT, value, 10);

  wire low = value_3 < `FAULT(`LUMA_LOW, -10'sd1, 10'sd0);
  wire high = value_3 > `FAULT(`LUMA_HIGH, 10'sd256, 10'sd255);
  always_ff @(posedge clk) q <= low ? 8'd0 : high ? 8'd255 : value_3[7:0];
endmodule
