// The DPI library by itself: which arrays it takes, and whole pictures by handle.
module dpi_test;
  import vantor_dpi::*;

  chandle src, dst, grid, coverage;
  byte unsigned row[96], back[96], square[8][12], too_few[95];
  logic [7:0] as_logic[96];
  int as_ints[96], nodes[1089], zeros[1089], too_few_nodes[1088];
  shortint as_shorts[96];
  longint as_longs[12];
  string uncovered;
  int component, x, y, in_a, in_b;

  task expect_equal(input string what, input int found, input int wanted);
    if (found != wanted) $fatal(1, "%s: %0d (%s), expected %0d", what, found, message(), wanted);
  endtask
  task expect_failure(input int status, input string said);
    if (status != -1 || message() != said) $fatal(1, "%0d \"%s\", expected \"%s\"", status, message(), said);
  endtask

  initial begin
    src = picture_new(GRAY8, 96, 64);
    dst = picture_new(GRAY8, 96, 64);
    grid = grid_new();
    foreach (row[i]) row[i] = 8'(3 * i);
    expect_equal("bytes", picture_set_row(src, 0, 5, row), 0);
    expect_equal("square", picture_set_row(src, 0, 6, square), 0);
    expect_equal("bytes", picture_get_row(src, 0, 5, back), 0);
    foreach (row[i]) expect_equal("row", int'(back[i]), int'(picture_get(src, 0, i, 5)));
    expect_failure(picture_set_row(src, 0, 5, as_logic),
                   "row: the simulator does not show its memory, expected an array of byte unsigned");
    expect_failure(picture_set_row(src, 0, 5, as_ints), "row: 96 elements in 384 bytes, expected an array of byte unsigned");
    expect_failure(picture_get_row(src, 0, 5, as_shorts), "row: 96 elements in 192 bytes, expected an array of byte unsigned");
    expect_failure(picture_set_row(src, 0, 5, as_longs), "row: 12 elements in 96 bytes, expected an array of byte unsigned");
    expect_failure(picture_set_row(src, 0, 5, too_few), "row: 95 elements, expected 96");
    expect_failure(grid_set(grid, nodes, too_few_nodes), "dy: 1088 elements, expected 1089");
    expect_failure(picture_set_row(src, 1, 5, row), "plane 1, expected 0 to 0");
    expect_failure(picture_set_row(src, 0, 64, row), "y 64, expected 0 to 63");
    expect_failure(picture_load(src, "missing"), "missing: cannot be read");

    // Zeros copy; the first difference is the first in the order of rows.
    expect_equal("warp", picture_warp(dst, src, grid), 0);
    expect_equal("copy", picture_compare(dst, src, component, x, y, in_a, in_b), 0);
    picture_set(dst, 0, 95, 4, 77);
    picture_set(dst, 0, 0, 5, 9);
    expect_equal("difference", picture_compare(dst, src, component, x, y, in_a, in_b), 1);
    expect_equal("first", ((component * 100 + x) * 100 + y) * 1000 + in_a - in_b, 9504077);
    foreach (nodes[i]) nodes[i] = 256 * 16384 / 96 + 1;  // a pixel
    expect_equal("grid", grid_set(grid, nodes, zeros), 0);
    expect_equal("warp", picture_warp(dst, src, grid), 0);
    expect_equal("moved", int'(picture_get(dst, 0, 40, 5)), int'(3 * 41));

`ifdef COVERAGE
    coverage = vantor_coverage::cov_new();
    uncovered = vantor_coverage::cov_report(coverage);
    expect_equal("coverage", vantor_coverage::cov_sample(coverage, dst, src, grid), 0);
    if (vantor_coverage::cov_report(coverage) == uncovered) $fatal(1, "nothing is covered");
    expect_failure(vantor_coverage::cov_sample(coverage, dst, src, src), "grid: not the handle of a grid");
`endif

    picture_free(dst);
    expect_failure(picture_warp(dst, src, grid), "dst: not the handle of a picture");
    expect_failure(picture_scale(null, src), "dst: not the handle of a picture");
    if (picture_new(NV12, 3, 2) != null) $fatal(1, "an odd width is taken");
    expect_failure(-1, "picture: width 3, expected an even number, as chroma has half of it");
    expect_failure(luma_filter_int({8'd0, 8'd0, 8'd0, 8'd0}, 32), "phase 32, expected 0 to 31");
    $display("dpi_test: passed");
    $finish(0);
  end
endmodule
