// A third, toward zero: the product with 2^33 / 3, rounded up, which is made of sums.
`include "vantor_faults.svh"

module vantor_third #(
    parameter BITS = 28
) (
    input  logic signed [BITS-1:0] value,
    output logic signed [BITS-1:0] third
);
  `FAULT_NUMBER

  wire negative = value[BITS-1];
  wire [BITS-1:0] magnitude = negative ? -value : value;
  wire [BITS-1:0] raised = magnitude + `FAULT(`THIRD_FLOORED, {negative, 1'b0}, 2'd0);
  wire [BITS+31:0] by_5 = raised + {raised, 2'b0};
  wire [BITS+31:0] by_55 = by_5 + (by_5 << 4);  // hexadecimal
  wire [BITS+31:0] by_5555 = by_55 + (by_55 << 8);
  wire [BITS+31:0] by_55555555 = by_5555 + (by_5555 << 16);
  wire [BITS+31:0] product = (by_55555555 << 1) + raised;
  wire [BITS-1:0] quotient = product >> 33;
  assign third = negative ? -quotient : quotient;
endmodule
