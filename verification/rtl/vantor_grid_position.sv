// From the sixteen nodes around a grid's cell to the position in the source, along one axis. One position per clock;
// the result follows ten clocks later. The cell and the place in it are those of vantor_virtual_position; `position` is
// the output column for displacements to the right, the row for those down, and `inv_scale` and `size` belong to the
// same axis. Nodes beyond the grid do not count.
`include "vantor_faults.svh"

module vantor_grid_position (
    input  logic                clk,
    input  logic       [ 383:0] nodes,  // 24 bits each, row by row, the left upper one lowest
    input  logic       [   5:0] cell_x,
    input  logic       [   9:0] place_x,
    input  logic       [   5:0] cell_y,
    input  logic       [   8:0] place_y,
    input  logic       [  13:0] inv_scale,
    input  logic       [  12:0] position,
    input  logic       [  13:0] size,
    output logic signed [ 23:0] coordinate,  // in 1/256 sample
    output logic                is_inside,
    output logic        [ 13:0] index,  // of the sample to the right of (below) the position
    output logic        [  7:0] fraction  // from the sample before it
);
  `FAULT_NUMBER

  // The four columns of nodes along the output row.
  wire signed [22:0] crossed[0:3];
  genvar i;
  generate
    for (i = 0; i < 4; i = i + 1) begin : columns
      vantor_grid_row row (
          .clk(clk), .above(nodes[24*i+:24]), .top(nodes[96+24*i+:24]), .bottom(nodes[192+24*i+:24]),
          .below(nodes[288+24*i+:24]), .cell_number(cell_y), .place(place_y), .value(crossed[i])
      );
    end
  endgenerate

  // What later stages need, delayed.
  localparam SIDE = 6 + 10 + 14 + 13 + 14;
  logic [SIDE-1:0] side[1:9];
  integer k;
  always_ff @(posedge clk) begin
    side[1] <= {cell_x, place_x, inv_scale, position, size};
    for (k = 2; k <= 9; k = k + 1) side[k] <= side[k-1];
  end

  wire signed [23:0] difference;
  wire signed [25:0] slope_change;
  wire signed [25:0] excess;
  wire [5:0] cell_4 = side[4][SIDE-1-:6];
  wire is_last = `FAULT(`LAST_CELL, 1'b0, cell_4 == 6'd32);
  vantor_hermite #(.BITS(23)) hermite (
      .a(crossed[0]), .b(crossed[1]), .c(crossed[2]), .d(crossed[3]), .is_first(cell_4 == 6'd1), .is_last(is_last),
      .difference(difference), .slope_change(slope_change), .excess(excess)
  );
  logic signed [23:0] difference_5;
  logic signed [25:0] slope_change_5;
  logic signed [25:0] excess_5;
  logic signed [22:0] start_5;
  always_ff @(posedge clk) begin
    difference_5   <= difference;
    slope_change_5 <= slope_change;
    excess_5       <= excess;
    start_5        <= crossed[1];
  end

  // The excess at this place, and the chord.
  wire signed [11:0] w = {2'b0, side[5][SIDE-7-:10]};
  wire signed [11:0] balance = 12'sd512 - 2 * w;
  wire signed [37:0] excess_product = balance * excess_5 + 38'sd256;
  wire signed [25:0] excess_scaled = excess_product >>> 9;
  wire signed [35:0] chord = w * difference_5;
  wire signed [35:0] chord_product = chord + `FAULT(`CURVE_AWAY, 36'sd256 - chord[35], 36'sd256);
  logic signed [25:0] bent_6;
  logic signed [23:0] chord_6;
  logic signed [22:0] start_6;
  always_ff @(posedge clk) begin
    bent_6  <= excess_scaled + slope_change_5;
    chord_6 <= chord_product >>> 9;
    start_6 <= start_5;
  end

  // What the curve leaves its chord by.
  wire [19:0] w_6 = `FAULT(`STALE_WITHIN, side[5][SIDE-7-:10], side[6][SIDE-7-:10]);
  wire signed [8:0] bow = (20'd256 + w_6 * (20'd512 - w_6)) >> 9;
  wire signed [34:0] bulge_product = bow * bent_6 + 35'sd1024;
  logic signed [22:0] bulge_7;
  logic signed [24:0] line_7;
  always_ff @(posedge clk) begin
    bulge_7 <= bulge_product >>> 11;
    line_7  <= start_6 + chord_6;
  end

  wire signed [24:0] sum = line_7 - bulge_7;
  wire signed [24:0] clamped = sum < -25'sd4194304 ? -25'sd4194304
                             : sum > `FAULT(`CURVE_CLAMP, 25'sd4194304, 25'sd4194303) ? 25'sd4194303 : sum;
  logic signed [22:0] displacement_8;
  always_ff @(posedge clk) displacement_8 <= clamped;

  // To the source's samples.
  wire signed [14:0] scale_8 = {1'b0, side[8][40:27]};
  wire signed [36:0] scaled_product = scale_8 * displacement_8 + `FAULT(`SOURCE_TRUNCATED, 37'sd0, 37'sd4096);
  wire signed [23:0] scaled = scaled_product >>> 13;
  logic signed [23:0] scaled_9;
  always_ff @(posedge clk) scaled_9 <= `SHORT(`SOURCE_SHORT, scaled, 23);

  wire signed [23:0] undisplaced = {3'b0, side[9][26:14], `FAULT(`CENTRE_LOST, 1'b0, 1'b1), 7'd0};
  wire signed [23:0] source = scaled_9 + undisplaced;
  wire signed [23:0] end_of_source = {2'b0, side[9][13:0], 8'd0};
  wire signed [23:0] shifted = source + 24'sd128;
  always_ff @(posedge clk) begin
    coordinate <= source;
    is_inside     <= !source[23] && source < `FAULT(`INSIDE_END, end_of_source + 24'sd1, end_of_source);
    index      <= shifted[21:8];
    fraction   <= shifted[7:0];
  end
endmodule
