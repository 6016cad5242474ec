// The reduction's chroma filter: bilinear, along the rows first, for U and V of one position. One position per clock;
// the pair follows three clocks later. Weights are phases in 1/32: 0 to 31, and 32 across for the last pair of a row,
// which has no right neighbour. Fractions are dropped.
`include "vantor_faults.svh"

module vantor_chroma_filter (
    input  logic        clk,
    input  logic [15:0] left_top,      // U, and V above it
    input  logic [15:0] right_top,
    input  logic [15:0] left_bottom,
    input  logic [15:0] right_bottom,
    input  logic [ 5:0] phase_x,
    input  logic [ 4:0] phase_y,
    output logic [ 7:0] u,
    output logic [ 7:0] v
);
  `FAULT_NUMBER

  logic [4:0] phase_1;
  logic [4:0] phase_2;
  always_ff @(posedge clk) begin
    phase_1 <= phase_y;
    phase_2 <= phase_1;
  end
  wire [5:0] across = `FAULT(`RIGHT_LOST, phase_x & 6'd31, phase_x);
  wire [4:0] down = `FAULT(`STALE_ROW_PHASE, phase_1, phase_2);

  wire [7:0] blended[0:1];
  genvar i;
  generate
    for (i = 0; i < 2; i = i + 1) begin : component
      // Both rows are filtered in the first clock, and kept for one in their own registers.
      logic [7:0] top_1;
      logic [7:0] bottom_1;
      logic [7:0] top_2;
      logic [7:0] bottom_2;
      logic [7:0] blend_3;
      wire [12:0] top = (6'd32 - across) * left_top[8*i+:8] + across * right_top[8*i+:8];
      wire [12:0] kept_top = `SHORT_UNSIGNED(`CHROMA_SHORT, top, 13);
      wire [12:0] bottom = (6'd32 - across) * left_bottom[8*i+:8] + across * right_bottom[8*i+:8];
      wire [12:0] blend =
          (6'd32 - down) * top_2 + down * bottom_2 + `FAULT(`CHROMA_ROUNDED, 13'd16, 13'd0);
      always_ff @(posedge clk) begin
        top_1    <= kept_top[12:5];
        bottom_1 <= bottom[12:5];
        top_2    <= top_1;
        bottom_2 <= bottom_1;
        blend_3  <= blend[12:5];
      end
      assign blended[i] = blend_3;
    end
  endgenerate
  assign u = `FAULT(`CHROMA_EXCHANGED, blended[1], blended[0]);
  assign v = `FAULT(`CHROMA_EXCHANGED, blended[0], blended[1]);
endmodule
