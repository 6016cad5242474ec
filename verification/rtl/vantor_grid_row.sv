// The vertical half of the grid's interpolation: the displacement, at half the grid's scale, where an output row
// crosses one column of nodes. One per clock; the value follows four clocks later. Nodes are within 2^23.
`include "vantor_faults.svh"

module vantor_grid_row (
    input  logic               clk,
    input  logic signed [23:0] above,
    input  logic signed [23:0] top,
    input  logic signed [23:0] bottom,
    input  logic signed [23:0] below,
    input  logic        [ 5:0] cell_number,
    input  logic        [ 8:0] place,  // 0 to 384
    output logic signed [22:0] value
);
  `FAULT_NUMBER

  wire signed [24:0] difference;
  wire signed [26:0] slope_change;
  wire signed [26:0] excess;
  wire is_first = `FAULT(`FIRST_CELL, 1'b0, cell_number == 6'd1);
  vantor_hermite #(.BITS(24)) hermite (
      .a(above), .b(top), .c(bottom), .d(below), .is_first(is_first), .is_last(cell_number == 6'd32),
      .difference(difference), .slope_change(slope_change), .excess(excess)
  );
  logic signed [24:0] difference_1;
  logic signed [26:0] slope_change_1;
  logic signed [26:0] excess_1;
  logic signed [23:0] top_1;
  logic        [ 8:0] within_1;
  always_ff @(posedge clk) begin
    difference_1   <= difference;
    slope_change_1 <= slope_change;
    excess_1       <= `SHORT(`EXCESS_SHORT, excess, 27);
    top_1          <= top;
    within_1       <= place;
  end

  // The excess at this place, and the chord.
  wire signed [10:0] t = {2'b0, within_1};
  wire signed [10:0] balance = 11'sd384 - 2 * t;
  wire signed [37:0] excess_product = balance * excess_1 + 38'sd128;
  wire signed [29:0] excess_scaled = excess_product >>> 8;
  wire signed [29:0] excess_third;
  vantor_third #(.BITS(30)) third_of_excess (.value(excess_scaled), .third(excess_third));
  wire signed [35:0] chord_product = t * difference_1 + `FAULT(`ROW_TRUNCATED, 36'sd0, 36'sd128);
  wire signed [27:0] chord_scaled = chord_product >>> 8;
  wire signed [27:0] chord_third;
  vantor_third #(.BITS(28)) third_of_chord (.value(chord_scaled), .third(chord_third));
  wire signed [25:0] half_change =
      `FAULT(`SLOPE_LOGICAL, $signed(slope_change_1[26:1]) & 26'sh1ffffff, $signed(slope_change_1[26:1]));
  wire [17:0] bow = (18'd64 + within_1 * (18'd384 - within_1)) >> 7;
  logic signed [25:0] bent_2;
  logic        [ 6:0] bow_third_2;
  logic signed [23:0] chord_2;
  logic signed [23:0] top_2;
  always_ff @(posedge clk) begin
    bent_2      <= excess_third + half_change;
    bow_third_2 <= bow / 3;
    chord_2     <= chord_third;
    top_2       <= top_1;
  end

  // What the curve leaves its chord by.
  wire signed [ 7:0] bow_third = {1'b0, bow_third_2};
  wire signed [33:0] bulge_product = bow_third * bent_2 + 34'sd256;
  wire signed [24:0] bulge_scaled = bulge_product >>> 9;
  wire signed [24:0] bulge_third;
  vantor_third #(.BITS(25)) third_of_bulge (.value(bulge_scaled), .third(bulge_third));
  wire signed [22:0] bulge = bulge_third;
  logic signed [22:0] bulge_3;
  logic signed [24:0] line_3;
  wire signed [22:0] half_top = $signed(top_2[23:1]);
  always_ff @(posedge clk) begin
    bulge_3 <= `SHORT(`BULGE_SHORT, bulge, 23);
    line_3  <= chord_2 + half_top;
  end

  wire signed [24:0] sum = line_3 - bulge_3;
  wire signed [24:0] clamped = sum < -25'sd4194304 ? -25'sd4194304 : sum > 25'sd4194303 ? 25'sd4194303 : sum;
  always_ff @(posedge clk) value <= `FAULT(`ROW_CLAMP, sum, clamped);
endmodule
