// Which of the arithmetic a scoreboard's pictures have covered, for builds of libvantor_dpi.so that count it. Pictures
// and grids are handles of vantor_dpi; message() there says why a call fails.
package vantor_coverage;
  import "DPI-C" vantor_dpi_cov_new = function chandle cov_new();
  import "DPI-C" vantor_dpi_cov_free = function void cov_free(input chandle coverage);
  // Counts a request: a warp through a grid, or, with null for the grid, a scaling to the size of dst. The source is
  // gray or NV12.
  import "DPI-C" vantor_dpi_cov_sample = function int cov_sample(input chandle coverage, dst, src, grid);
  // What is covered and what is missing, line by line; and as JSON, which `vantor coverage --add` takes.
  import "DPI-C" vantor_dpi_cov_report = function string cov_report(input chandle coverage);
  import "DPI-C" vantor_dpi_cov_json = function string cov_json(input chandle coverage);
endpackage
