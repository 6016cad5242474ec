// The warp's luma: sixteen samples, weighted by the cubic convolution kernel in both directions, corrected for the sum
// of the rounded weights, and clamped to the four samples around the position. One position per clock; q follows five
// clocks later.
`include "vantor_faults.svh"

module vantor_bicubic_sampler (
    input  logic         clk,
    input  logic [127:0] samples,  // row by row, the left upper one lowest
    input  logic [  7:0] fraction_x,
    input  logic [  7:0] fraction_y,
    output logic [  7:0] q
);
  `FAULT_NUMBER

  wire [7:0] across = `FAULT(`FRACTIONS_SWAPPED, fraction_y, fraction_x);
  wire [7:0] down = `FAULT(`FRACTIONS_SWAPPED, fraction_x, fraction_y);
  wire signed [9:0] wx[0:3];
  wire signed [9:0] wy[0:3];
  vantor_tap_weights weights_x (.clk(clk), .fraction(across), .w0(wx[0]), .w1(wx[1]), .w2(wx[2]), .w3(wx[3]));
  vantor_tap_weights weights_y (.clk(clk), .fraction(down), .w0(wy[0]), .w1(wy[1]), .w2(wy[2]), .w3(wy[3]));
  logic [127:0] samples_1;
  always_ff @(posedge clk) samples_1 <= samples;

  // Weights are products of two, to nearest, ties away from zero.
  logic signed [9:0] weight_2[0:15];
  logic [127:0] samples_2;
  always_ff @(posedge clk) samples_2 <= samples_1;
  genvar i;
  generate
    for (i = 0; i < 16; i = i + 1) begin : weights
      wire signed [18:0] product = wy[i/4] * wx[i%4];
      wire signed [18:0] rounded =
          product + 19'sd128 - `FAULT(`WEIGHT_TIES, 19'sd0, $signed({18'd0, product[18]}));
      always_ff @(posedge clk) weight_2[i] <= rounded >>> 8;
    end
  endgenerate

  // Sums, and the bounds of the inner four samples.
  logic signed [17:0] sum_now;
  logic        [ 8:0] weight_sum_now;
  logic        [ 7:0] low_now;
  logic        [ 7:0] high_now;
  logic signed [17:0] term;
  integer k;
  always @* begin
    sum_now = 18'sd0;
    weight_sum_now = 9'd0;
    low_now = 8'd255;
    high_now = 8'd0;
    for (k = 0; k < 16; k = k + 1) begin
      term = weight_2[k] * $signed({1'b0, samples_2[8*k+:8]});
      sum_now = sum_now + term;
      weight_sum_now = weight_sum_now + weight_2[k][8:0];
      if (k == 5 || k == 6 || k == 9 || k == 10 || `FAULT(`BOUNDS_OF_ALL, 1'b1, 1'b0)) begin
        if (samples_2[8*k+:8] < low_now) low_now = samples_2[8*k+:8];
        if (samples_2[8*k+:8] > high_now) high_now = samples_2[8*k+:8];
      end
    end
  end
  logic signed [17:0] sum_3;
  logic        [ 8:0] weight_sum_3;
  logic        [15:0] bounds_3;
  always_ff @(posedge clk) begin
    sum_3        <= `SHORT(`SAMPLE_SUM_SHORT, sum_now, 18);
    weight_sum_3 <= `SHORT_UNSIGNED(`WEIGHT_SUM_SHORT, weight_sum_now, 9);
    bounds_3     <= {high_now, low_now};
  end

  // What the weights lack of 256, in proportion.
  wire signed [ 9:0] lacking = 10'sd256 - $signed({1'b0, weight_sum_3});
  wire signed [27:0] correction_product = sum_3 * lacking + 28'sd128;
  wire signed [11:0] correction = correction_product >>> 8;
  wire signed [11:0] kept_correction = `SHORT(`CORRECTION_SHORT, correction, 12);
  wire signed [17:0] total = sum_3 + `FAULT(`CORRECTION_LOST, 12'sd0, kept_correction)
                           + `FAULT(`BICUBIC_TRUNCATED, 18'sd0, 18'sd128);
  wire signed [ 9:0] value = total >>> 8;
  logic signed [9:0] value_4;
  logic       [15:0] bounds_4;
  always_ff @(posedge clk) begin
    value_4  <= `SHORT(`BICUBIC_SHORT, value, 10);
    bounds_4 <= bounds_3;
  end

  wire signed [9:0] byte_value = value_4 < 10'sd0 ? 10'sd0 : value_4 > 10'sd255 ? 10'sd255 : value_4;
  wire signed [9:0] bounded = `FAULT(`BYTE_CLAMP, value_4, byte_value);
  wire signed [9:0] low = {2'b0, bounds_4[7:0]};
  wire signed [9:0] high = {2'b0, bounds_4[15:8]};
  wire is_above = bounded > `FAULT(`BOUND_HIGH, high + 10'sd1, high);
  always_ff @(posedge clk) q <= bounded < low ? low[7:0] : is_above ? high[7:0] : bounded[7:0];
endmodule
