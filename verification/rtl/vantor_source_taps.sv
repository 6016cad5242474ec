// The source columns (rows) of the taps around a position inside the source, folded at the borders. One position per
// clock; the taps follow one clock later. `size` counts luma samples and is at least 64, as the device's pictures have.
`include "vantor_faults.svh"

module vantor_source_taps (
    input  logic        clk,
    input  logic [13:0] index,  // 0 to size
    input  logic [13:0] size,
    output logic [55:0] luma,   // 14 bits each, the leftmost (topmost) lowest
    output logic [27:0] chroma
);
  `FAULT_NUMBER

  // Only the outermost tap can be folded at both borders.
  wire [13:0] first = index < 14'd2 ? `FAULT(`LEFT_FOLD, 14'd0, index) : index - 14'd2;
  wire [13:0] second = index == 14'd0 ? 14'd1 : index - 14'd1;
  wire [13:0] third = index < size ? index : index - 14'd2;
  wire [13:0] fourth = index + 14'd1 < size ? index + 14'd1
                                            : `FAULT(`RIGHT_FOLD, size - 14'd1, index - 14'd1);

  // Chroma is between the same positions, every second one of which it has.
  wire [13:0] pairs = size >> 1;
  wire [13:0] right = (index >> 1) + index[0];
  wire [13:0] left = right == 14'd0 ? 14'd0 : right - 14'd1;
  wire [13:0] last = pairs - 14'd1;
  always_ff @(posedge clk) begin
    luma   <= {fourth, third, second, first};
    chroma <= {`FAULT(`CHROMA_FOLD, right, right > last ? last : right), left};
  end
endmodule
