// Where an output column (row) lies in the grid: the cell, 1 to 32, and the place in it, 0 to CELL. One position per
// clock; the result follows two clocks later. `scale` and `shifter` belong to the picture's width (height).
`include "vantor_faults.svh"

module vantor_virtual_position #(
    parameter CELL = 512  // across; 384 down
) (
    input  logic        clk,
    input  logic [12:0] position,
    input  logic [15:0] scale,
    input  logic [ 2:0] shifter,
    output logic [ 5:0] cell_number,
    output logic [ 9:0] place
);
  `FAULT_NUMBER

  // No size needs more bits: the frame is 16384 units wide, and `shifter` at most 7.
  logic [28:0] product_1;
  logic [ 2:0] shifter_1;
  wire  [28:0] product = {position, 1'b1} * scale;
  always_ff @(posedge clk) begin
    product_1 <= `SHORT_UNSIGNED(`VIRTUAL_SHORT, product, 29);
    shifter_1 <= shifter;
  end

  // Half the divisor is added, and the shift drops the rest. No size leads beyond the last cell.
  wire [28:0] half = `FAULT(`VIRTUAL_TRUNCATED, 29'd0, 29'd128 << shifter_1);
  wire [28:0] coordinate = ((product_1 + half) >> shifter_1) >> 8;
  wire [14:0] located = `FAULT(`VIRTUAL_EDGE, coordinate[14:0] - (coordinate[14:0] != 15'd0), coordinate[14:0]);
  wire [14:0] cells = located / CELL;
  always_ff @(posedge clk) begin
    cell_number <= cells[5:0] + 6'd1;
    place       <= coordinate[14:0] - CELL * cells[4:0];
  end
endmodule
