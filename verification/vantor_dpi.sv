// The engines behind DPI-C: whole pictures by handle, and the arithmetic unit by unit. Load libvantor_dpi.so with it.
//
// Functions that return a status return 0, or a negative number where they fail; message() then says why. Functions
// without a status report failures, and inputs with unknown bits, by $error.
//
// Numbers. Samples and phases are unsigned. Phases of the reduction are in 1/32 sample, of the warp's samplers in
// 1/256. Positions in the source are in 1/256 luma sample, displacements inside the engine in 23 bits, signed. Cells of
// the grid count from 1 to 32.
package vantor_dpi;
  localparam int GRAY8 = 0, NV12 = 1, NV21 = 2, I420 = 3;

  import "DPI-C" vantor_dpi_message = function string message();
  import "DPI-C" vantor_dpi_version = function string version();

  // ---- Whole pictures. Planes and formats are those of vantor.h; rows of pairs hold both samples of each. A handle
  // belongs to the caller until it is freed, and is null where there is no picture.
  import "DPI-C" vantor_dpi_picture_new = function chandle picture_new(input int format, width, height);
  import "DPI-C" vantor_dpi_picture_free = function void picture_free(input chandle picture);
  // A file of the planes without gaps, such as a .nv12 file.
  import "DPI-C" vantor_dpi_picture_load = function int picture_load(input chandle picture, input string path);
  // Rows are fixed arrays of byte unsigned, as long as a row; what else a simulator passes is refused.
  import "DPI-C" vantor_dpi_picture_set_row =
      function int picture_set_row(input chandle picture, input int plane, y, input byte unsigned row[]);
  import "DPI-C" vantor_dpi_picture_get_row =
      function int picture_get_row(input chandle picture, input int plane, y, inout byte unsigned row[]);
  import "DPI-C" vantor_dpi_picture_set =
      function int picture_set_int(input chandle picture, input int plane, x, y, value);
  import "DPI-C" vantor_dpi_picture_get = function int picture_get_int(input chandle picture, input int plane, x, y);
  // All of src to all of dst: in any sizes, or warped through a grid.
  import "DPI-C" vantor_dpi_picture_scale = function int picture_scale(input chandle dst, src);
  import "DPI-C" vantor_dpi_picture_warp = function int picture_warp(input chandle dst, src, grid);
  // 0: equal. 1: the first difference is in component 0 (luma), 1 (U) or 2 (V), at x, y of the component.
  import "DPI-C" vantor_dpi_picture_compare =
      function int picture_compare(input chandle a, b, output int component, x, y, in_a, in_b);

  // ---- Grids of 33 x 33 nodes, all zero at first: 1/256 sample of a picture of 16384 x 12288.
  import "DPI-C" vantor_dpi_grid_new = function chandle grid_new();
  import "DPI-C" vantor_dpi_grid_free = function void grid_free(input chandle grid);
  import "DPI-C" vantor_dpi_grid_load = function int grid_load(input chandle grid, input string path);
  // 1089 nodes each, row by row.
  import "DPI-C" vantor_dpi_grid_set = function int grid_set(input chandle grid, input int dx[], dy[]);
  import "DPI-C" vantor_dpi_grid_set_node =
      function int grid_set_node(input chandle grid, input int column, row, dx, dy);
  import "DPI-C" vantor_dpi_grid_get_node =
      function int grid_get_node(input chandle grid, input int column, row, output int dx, dy);

  // ---- The arithmetic. Element 0 of a packed array is the leftmost (topmost) sample, row by row.
  typedef bit [3:0][7:0] samples4_t;
  typedef bit [15:0][7:0] samples16_t;
  typedef bit [3:0][31:0] ints4_t;
  typedef bit [15:0][31:0] nodes16_t;
  import "DPI-C" vantor_dpi_luma_filter = function int luma_filter_int(input samples4_t samples, input int phase);
  import "DPI-C" vantor_dpi_luma_filter_2d =
      function int luma_filter_2d_int(input samples16_t samples, input int phase_x, phase_y);
  import "DPI-C" vantor_dpi_chroma_filter = function int chroma_filter_int(input int left, right, phase);
  import "DPI-C" vantor_dpi_chroma_filter_2d =
      function int chroma_filter_2d_int(input samples4_t samples, input int phase_x, phase_y);
  import "DPI-C" vantor_dpi_interp4_row =
      function int interp4_row_int(input samples4_t samples, input int phase, output int filtered);
  import "DPI-C" vantor_dpi_interp4_column = function int interp4_column_int(input ints4_t filtered, input int phase);
  import "DPI-C" vantor_dpi_interp4_chroma = function int interp4_chroma_int(input int left, right, weight);

  // The warp's parameters of an axis, 0 across and 1 down, of `size` luma samples.
  import "DPI-C" vantor_dpi_axis = function int axis(input int is_y, size, output int scale, shifter, inv_scale);
  // The grid's cell that an output column or row is in, and where in it: 0 to 512 across, 0 to 384 down.
  import "DPI-C" vantor_dpi_virtual_position =
      function int virtual_position(input int is_y, size, position, output int cell_number, place);
  // Of four rows of four nodes around a cell, of which those beyond the grid do not count.
  import "DPI-C" vantor_dpi_displacement =
      function int displacement(input nodes16_t nodes, input int cell_x, place_x, cell_y, place_y, output int value);
  // Where a displaced output column or row comes from. The index is -1 outside the source.
  import "DPI-C" vantor_dpi_source_position =
      function int source_position(input int is_y, size, position, displaced, output int coordinate, index, fraction);
  // All of these in one, for a pixel of a picture of width x height.
  import "DPI-C" vantor_dpi_grid_position =
      function int grid_position(input chandle grid, input int width, height, x, y, output int source_x, source_y);
  // The source columns (rows) of the taps around an index, folded at the borders. `size` counts luma samples.
  import "DPI-C" vantor_dpi_luma_taps = function int luma_taps(input int index, size, output ints4_t taps);
  import "DPI-C" vantor_dpi_chroma_taps = function int chroma_taps(input int index, size, output bit [1:0][31:0] taps);
  import "DPI-C" vantor_dpi_bicubic_sampler =
      function int bicubic_sampler_int(input samples16_t samples, input int fraction_x, fraction_y);
  import "DPI-C" vantor_dpi_chroma_sampler = function int chroma_sampler_int(
      input samples4_t samples, input int index_x, fraction_x, index_y, fraction_y);

  // ---- The same on what RTL has. An unknown bit in an input is an error, and not 0.
  function automatic logic [7:0] sample_of(input string unit, input int value, input bit unknown);
    if (unknown) $error("%s: unknown bits in an input", unit);
    else if (value < 0) $error("%s: %s", unit, message());
    return 8'(value);
  endfunction

  function automatic logic [7:0] luma_filter(input logic [7:0] p0, p1, p2, p3, input logic [4:0] phase);
    return sample_of("luma_filter", luma_filter_int({p3, p2, p1, p0}, int'(phase)),
                     $isunknown({p0, p1, p2, p3, phase}));
  endfunction

  function automatic logic [7:0] luma_filter_2d(input logic [15:0][7:0] p, input logic [4:0] phase_x, phase_y);
    return sample_of("luma_filter_2d", luma_filter_2d_int(p, int'(phase_x), int'(phase_y)),
                     $isunknown({p, phase_x, phase_y}));
  endfunction

  function automatic logic [7:0] chroma_filter(input logic [7:0] left, right, input logic [5:0] phase);
    return sample_of("chroma_filter", chroma_filter_int(int'(left), int'(right), int'(phase)),
                     $isunknown({left, right, phase}));
  endfunction

  function automatic logic [7:0] chroma_filter_2d(input logic [7:0] left_top, right_top, left_bottom, right_bottom,
                                                  input logic [5:0] phase_x, input logic [4:0] phase_y);
    return sample_of("chroma_filter_2d",
                     chroma_filter_2d_int({right_bottom, left_bottom, right_top, left_top}, int'(phase_x),
                                          int'(phase_y)),
                     $isunknown({left_top, right_top, left_bottom, right_bottom, phase_x, phase_y}));
  endfunction

  // In 1/16 of a level.
  function automatic logic signed [15:0] interp4_row(input logic [7:0] p0, p1, p2, p3, input logic [4:0] phase);
    int filtered = 0;
    int status;
    status = interp4_row_int({p3, p2, p1, p0}, int'(phase), filtered);
    void'(sample_of("interp4_row", status, $isunknown({p0, p1, p2, p3, phase})));
    return 16'(filtered);
  endfunction

  function automatic logic [7:0] interp4_column(input logic signed [15:0] r0, r1, r2, r3, input logic [4:0] phase);
    return sample_of("interp4_column", interp4_column_int({32'(r3), 32'(r2), 32'(r1), 32'(r0)}, int'(phase)),
                     $isunknown({r0, r1, r2, r3, phase}));
  endfunction

  function automatic logic [7:0] interp4_chroma(input logic [7:0] left, right, input logic [5:0] weight);
    return sample_of("interp4_chroma", interp4_chroma_int(int'(left), int'(right), int'(weight)),
                     $isunknown({left, right, weight}));
  endfunction

  function automatic logic [7:0] bicubic_sampler(input logic [15:0][7:0] p, input logic [7:0] fraction_x, fraction_y);
    return sample_of("bicubic_sampler", bicubic_sampler_int(p, int'(fraction_x), int'(fraction_y)),
                     $isunknown({p, fraction_x, fraction_y}));
  endfunction

  // Of U or V. Indexes and fractions are those of the luma position.
  function automatic logic [7:0] chroma_sampler(input logic [7:0] left_top, right_top, left_bottom, right_bottom,
                                                input logic [13:0] index_x, input logic [7:0] fraction_x,
                                                input logic [13:0] index_y, input logic [7:0] fraction_y);
    return sample_of("chroma_sampler",
                     chroma_sampler_int({right_bottom, left_bottom, right_top, left_top}, int'(index_x),
                                        int'(fraction_x), int'(index_y), int'(fraction_y)),
                     $isunknown({left_top, right_top, left_bottom, right_bottom, index_x, fraction_x, index_y,
                                 fraction_y}));
  endfunction

  // One sample of a plane; rows of pairs hold both.
  function automatic void picture_set(input chandle picture, input int plane, x, y, input logic [7:0] value);
    int status;
    status = picture_set_int(picture, plane, x, y, int'(value));
    void'(sample_of("picture_set", status, $isunknown(value)));
  endfunction

  function automatic logic [7:0] picture_get(input chandle picture, input int plane, x, y);
    return sample_of("picture_get", picture_get_int(picture, plane, x, y), 0);
  endfunction
endpackage
