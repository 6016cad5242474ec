// Faults that hardware plausibly has, one at a time: with VANTOR_FAULTS defined, +fault=N turns on fault N, and without
// it none of them is there. Each line below is one: its name, its number, its block and what is wrong. Where "nothing
// changes", no input tells it from good hardware; where "pictures show nothing", only the block's own outputs do.
`ifndef VANTOR_FAULTS_SVH
`define VANTOR_FAULTS_SVH

`define THIRD_SHORT 1  // luma_filter: the register of the third-order term is one bit short
`define SUM_SHORT 2  // luma_filter: the register of the second-order sum is one bit short
`define SECOND_SHORT 3  // luma_filter: the register of the second-order term is one bit short
`define PRODUCT_SHORT 4  // luma_filter: the last product is one bit short
`define VALUE_SHORT 5  // luma_filter: the value before the clamp is one bit short
`define THIRD_ROUNDED 6  // luma_filter: the third-order term is rounded
`define SECOND_LOGICAL 7  // luma_filter: the second-order term's shift is logical
`define VALUE_ROUNDED 8  // luma_filter: the last product is rounded
`define LUMA_HIGH 9  // luma_filter: the upper clamp lets 256 pass
`define LUMA_LOW 10  // luma_filter: the lower clamp lets -1 pass
`define STALE_PHASE 11  // luma_filter: the last product has the next sample's phase
`define TAPS_SWAPPED 12  // luma_filter: the outer taps are swapped
`define TOWARD_ZERO 13  // luma_filter: the last product is truncated toward zero
`define RIGHT_LOST 14  // chroma_filter: a phase of 32 is read as 0
`define CHROMA_ROUNDED 15  // chroma_filter: the blend of rows is rounded
`define CHROMA_SHORT 16  // chroma_filter: the sum of the products is one bit short
`define CHROMA_EXCHANGED 17  // chroma_filter: U and V are exchanged
`define STALE_ROW_PHASE 18  // chroma_filter: the blend of rows has the next sample's phase
`define VIRTUAL_TRUNCATED 19  // virtual_position: the rounding is lost
`define VIRTUAL_SHORT 20  // virtual_position: the product is one bit short
`define VIRTUAL_EDGE 21  // virtual_position: a cell's first position is still in the cell before
`define FIRST_CELL 22  // grid_position: the first row of cells is interpolated like the others
`define LAST_CELL 23  // grid_position: the last column of cells is interpolated like the others
`define EXCESS_SHORT 24  // grid_position: the vertical excess is one bit short
`define SLOPE_LOGICAL 25  // grid_position: the halving of the vertical slopes' change is logical
`define THIRD_FLOORED 26  // grid_position: the division by 3 rounds down
`define BULGE_SHORT 27  // grid_position: the vertical bulge is one bit short
`define ROW_TRUNCATED 28  // grid_position: the vertical linear term is not rounded
`define ROW_CLAMP 29  // grid_position: the displacement of the row is not clamped
`define CURVE_AWAY 30  // grid_position: ties of the horizontal linear term go away from zero
`define STALE_WITHIN 31  // grid_position: the bulge has the next position's place in the cell
`define CURVE_CLAMP 32  // grid_position: the upper clamp lets one more pass; pictures show nothing, as both are outside
`define SOURCE_TRUNCATED 33  // grid_position: the scaled displacement is not rounded
`define SOURCE_SHORT 34  // grid_position: the scaled displacement is one bit short
`define CENTRE_LOST 35  // grid_position: pixels lie at their edges instead of their centres
`define INSIDE_END 36  // grid_position: the position after the last counts as inside
`define LEFT_FOLD 37  // source_taps: the taps of index 1 are not folded at the left border
`define RIGHT_FOLD 38  // source_taps: the taps of the last index are not folded at the right border
`define CHROMA_FOLD 39  // source_taps: chroma is not folded at the right border
`define WEIGHT_TIES 40  // bicubic_sampler: ties of negative weights go towards zero
`define WEIGHT_SUM_SHORT 41  // bicubic_sampler: the sum of the weights is one bit short
`define SAMPLE_SUM_SHORT 42  // bicubic_sampler: the sum of the samples is one bit short
`define CORRECTION_LOST 43  // bicubic_sampler: the weights' sum is not corrected
`define CORRECTION_SHORT 44  // bicubic_sampler: the correction is one bit short
`define BICUBIC_SHORT 45  // bicubic_sampler: the value before the clamps is one bit short
`define BICUBIC_TRUNCATED 46  // bicubic_sampler: the value is not rounded
`define BOUNDS_OF_ALL 47  // bicubic_sampler: the bounds are those of all sixteen samples
`define BOUND_HIGH 48  // bicubic_sampler: the upper bound lets one more pass
`define FRACTIONS_SWAPPED 49  // bicubic_sampler: the fractions of the axes are swapped
`define BYTE_CLAMP 50  // bicubic_sampler: no clamp to a byte before the bounds; nothing changes, as bounds are samples
`define ROW_PARITY 51  // chroma_sampler: odd and even luma rows are confused
`define COLUMN_PARITY 52  // chroma_sampler: the parity of the luma column does not count
`define WARPED_EXCHANGED 53  // chroma_sampler: U and V are exchanged
`define CHROMA_WEIGHT 54  // chroma_sampler: the weight of the left upper sample is not rounded
`define WARPED_SHORT 55  // chroma_sampler: the sum of the products is one bit short
`define WARPED_TRUNCATED 56  // chroma_sampler: the value is not rounded

`ifdef VANTOR_FAULTS
`define FAULT_NUMBER integer fault; initial if (!$value$plusargs("fault=%d", fault)) fault = 0;
`define FAULT(number, faulty, good) (fault == number ? (faulty) : (good))
`define SHORT(number, value, bits) (fault == number ? $signed({value[bits-2], value[bits-2:0]}) : value)
`define SHORT_UNSIGNED(number, value, bits) (fault == number ? {1'b0, value[bits-2:0]} : value)
`else
`define FAULT_NUMBER
`define FAULT(number, faulty, good) (good)
`define SHORT(number, value, bits) (value)
`define SHORT_UNSIGNED(number, value, bits) (value)
`endif

`endif
