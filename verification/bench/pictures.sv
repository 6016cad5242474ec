// A whole picture through the blocks of ../rtl, one sample per clock, compared with an expected one up to the first
// difference. Needs no DPI.
//   +source=FILE +width=W +height=H    the planes of NV12, or of gray with +gray, without gaps
//   +expected=FILE                     what the model makes of it; or +output=FILE, where the blocks' result goes. Warped,
//                                      if there is
//   +grid=FILE                         a grid file in the binary form with nodes within 2^23, or else reduced to
//   +to_width=W +to_height=H           this size
module pictures;
  localparam MAX = 1 << 22;  // bytes of a picture
  reg [7:0] source[0:MAX-1];
  reg [7:0] expected[0:MAX-1];  // or the output
  reg saves;                    // the output, and compares nothing
  reg [7:0] filtered[0:MAX-1];
  reg [7:0] grid[0:8711];
  integer width, height, to_width, to_height;
  integer frame_width, frame_height;  // of the picture as the engine warps it, its last column and row repeated
  reg clk = 1'b0;

  task tick;
    begin
      #1 clk = 1'b1;
      #1 clk = 1'b0;
    end
  endtask

  // ---- Files and results
  reg [8191:0] path;
  integer file;
  integer compared = 0;
  integer samples;

  task open;
    begin
      file = $fopen(path, "rb");
      if (file == 0) $fatal(1, "%0s: cannot be read", path);
    end
  endtask

  task close(input integer found, input integer bytes);
    begin
      if (found != bytes) $fatal(1, "%0s: %0d bytes, expected %0d", path, found, bytes);
      $fclose(file);
    end
  endtask

  task save;
    integer at;
    begin
      if (!$value$plusargs("output=%s", path)) $fatal(1, "pictures: +output has no name");
      file = $fopen(path, "wb");
      if (file == 0) $fatal(1, "%0s: cannot be written", path);
      for (at = 0; at < samples; at = at + 1) $fwrite(file, "%c", expected[at]);
      $fclose(file);
    end
  endtask

  // Of the blocks' results, in any order.
  task compare(input integer plane, input integer x, input integer y, input [7:0] value);
    integer at;
    begin
      at = plane == 0 ? y * to_width + x : to_width * to_height + y * to_width + 2 * x + plane - 1;
      if (saves) expected[at] = value;
      else if (value !== expected[at])
        $fatal(1, "pictures: sample %0d of %0d differs: plane %0d at %0d, %0d: output %0d, expected %0d", compared,
               samples, plane, x, y, value, expected[at]);
      compared = compared + 1;
    end
  endtask

  // ---- Reduction: rows of luma first, then columns; chroma in one go.
  reg [31:0] taps;
  reg [4:0] luma_phase;
  wire [7:0] luma;
  vantor_luma_filter luma_filter (
      .clk(clk), .p0(taps[7:0]), .p1(taps[15:8]), .p2(taps[23:16]), .p3(taps[31:24]), .phase(luma_phase), .q(luma)
  );
  reg [63:0] pairs;
  reg [5:0] phase_x;
  reg [4:0] phase_y;
  wire [7:0] reduced[0:1];
  vantor_chroma_filter chroma_filter (
      .clk(clk), .left_top(pairs[15:0]), .right_top(pairs[31:16]), .left_bottom(pairs[47:32]),
      .right_bottom(pairs[63:48]), .phase_x(phase_x), .phase_y(phase_y), .u(reduced[0]), .v(reduced[1])
  );

  function integer inside_of(input integer i, input integer count);
    inside_of = i < 0 ? 0 : i >= count ? count - 1 : i;
  endfunction

  // In 1/8192 sample.
  function integer position(input integer i, input integer from, input integer to);
    position = i * ((from * 8192) / to);
  endfunction

  function [15:0] pair_at(input integer x, input integer y);
    integer at;
    begin
      at = width * height + y * width + 2 * x;
      pair_at = {source[at+1], source[at]};
    end
  endfunction

  // What the blocks see is assigned at once: Verilator 5.006 overlooks changes of single elements.
  function [31:0] taps_across(input integer first, input integer y);
    integer k;
    for (k = 0; k < 4; k = k + 1) taps_across[8*k+:8] = source[y*width+inside_of(first+k, width)];
  endfunction

  function [31:0] taps_down(input integer x, input integer first);
    integer k;
    for (k = 0; k < 4; k = k + 1) taps_down[8*k+:8] = filtered[inside_of(first+k, height)*to_width+x];
  endfunction

  task reduce_rows;
    integer i, x, y, at;
    for (i = 0; i < to_width * height + 3; i = i + 1) begin
      x = i % to_width;
      y = inside_of(i / to_width, height);
      at = position(x, width, to_width);
      taps = taps_across((at >> 13) - 1, y);
      luma_phase = at >> 8;
      tick;
      if (i >= 3) filtered[i-3] = luma;
    end
  endtask

  task reduce_columns;
    integer i, x, y, at;
    for (i = 0; i < to_width * to_height + 3; i = i + 1) begin
      x = i % to_width;
      y = i / to_width;
      at = position(y, height, to_height);
      taps = taps_down(x, (at >> 13) - 1);
      luma_phase = at >> 8;
      tick;
      if (i >= 3) compare(0, (i - 3) % to_width, (i - 3) / to_width, luma);
    end
  endtask

  // The last pairs of a row have no right neighbour: they are the right neighbours of the pairs before.
  task reduce_chroma;
    integer i, columns, at_x, at_y, left, top, bottom;
    begin
      columns = to_width / 2;
      for (i = 0; i < columns * (to_height / 2) + 2; i = i + 1) begin
        at_x = position(i % columns, width / 2, columns);
        at_y = position(i / columns, height / 2, to_height / 2);
        left = at_x >> 13;
        phase_x = {1'b0, at_x[12:8]};
        if (width / 2 == 1) phase_x = 6'd0;
        else if (left > width / 2 - 2) begin
          left = width / 2 - 2;
          phase_x = 6'd32;
        end
        top = inside_of(at_y >> 13, height / 2);
        bottom = inside_of((at_y >> 13) + 1, height / 2);
        phase_y = at_y >> 8;
        pairs = {pair_at(left + 1, bottom), pair_at(left, bottom), pair_at(left + 1, top), pair_at(left, top)};
        tick;
        if (i >= 2) begin
          compare(1, (i - 2) % columns, (i - 2) / columns, reduced[0]);
          compare(2, (i - 2) % columns, (i - 2) / columns, reduced[1]);
        end
      end
    end
  endtask

  // ---- Warp: all blocks one after the other, with the nodes and the samples fetched between them.
  reg [12:0] column, row;
  reg [15:0] scale_x, scale_y;
  reg [2:0] shifter_x, shifter_y;
  reg [13:0] inv_scale_y;
  wire [5:0] cell_x, cell_y;
  wire [9:0] place_x, place_y;
  vantor_virtual_position #(.CELL(512)) virtual_x (
      .clk(clk), .position(column), .scale(scale_x), .shifter(shifter_x), .cell_number(cell_x), .place(place_x)
  );
  vantor_virtual_position #(.CELL(384)) virtual_y (
      .clk(clk), .position(row), .scale(scale_y), .shifter(shifter_y), .cell_number(cell_y), .place(place_y)
  );
  reg [25:0] place_1, place_2;  // row and column on their way
  always @(posedge clk) begin
    place_1 <= {row, column};
    place_2 <= place_1;
  end

  reg [383:0] nodes_x, nodes_y;
  reg [11:0] fetched = 12'd0;  // the cell that they belong to
  wire inside_x, inside_y;
  wire [13:0] index_x, index_y;
  wire [7:0] fraction_x, fraction_y;
  vantor_grid_position position_x (
      .clk(clk), .nodes(nodes_x), .cell_x(cell_x), .place_x(place_x), .cell_y(cell_y), .place_y(place_y[8:0]),
      .inv_scale(frame_width[13:0]), .position(place_2[12:0]), .size(frame_width[13:0]), .coordinate(),
      .is_inside(inside_x), .index(index_x), .fraction(fraction_x)
  );
  vantor_grid_position position_y (
      .clk(clk), .nodes(nodes_y), .cell_x(cell_x), .place_x(place_x), .cell_y(cell_y), .place_y(place_y[8:0]),
      .inv_scale(inv_scale_y), .position(place_2[25:13]), .size(frame_height[13:0]), .coordinate(),
      .is_inside(inside_y), .index(index_y), .fraction(fraction_y)
  );

  wire [55:0] columns, rows;
  wire [27:0] chroma_columns, chroma_rows;
  vantor_source_taps taps_x (
      .clk(clk), .index(index_x), .size(frame_width[13:0]), .luma(columns), .chroma(chroma_columns)
  );
  vantor_source_taps taps_y (
      .clk(clk), .index(index_y), .size(frame_height[13:0]), .luma(rows), .chroma(chroma_rows)
  );
  reg is_inside, odd_x, odd_y;
  reg [7:0] sampled_x, sampled_y;
  always @(posedge clk) begin
    is_inside <= inside_x && inside_y;
    odd_x <= index_x[0];
    odd_y <= index_y[0];
    sampled_x <= fraction_x;
    sampled_y <= fraction_y;
  end

  reg [127:0] block;
  reg [63:0] quads;
  wire [7:0] warped;
  wire [7:0] warped_chroma[0:1];
  vantor_bicubic_sampler sampler (
      .clk(clk), .samples(block), .fraction_x(sampled_x), .fraction_y(sampled_y), .q(warped)
  );
  vantor_chroma_sampler chroma_sampler (
      .clk(clk), .left_top(quads[15:0]), .right_top(quads[31:16]), .left_bottom(quads[47:32]),
      .right_bottom(quads[63:48]), .odd_x(odd_x), .fraction_x(sampled_x), .odd_y(odd_y), .fraction_y(sampled_y),
      .u(warped_chroma[0]), .v(warped_chroma[1])
  );

  function [23:0] node(input integer is_y, input integer node_column, input integer node_row);
    integer at;
    begin
      at = 4 * (1089 * is_y + 33 * node_row + node_column);
      if (node_column < 0 || node_column > 32 || node_row < 0 || node_row > 32) node = 24'd0;
      else begin
        node = {grid[at+2], grid[at+1], grid[at]};
        if (grid[at+3] !== {8{node[23]}}) $fatal(1, "pictures: node %0d, %0d is beyond 2^23", node_column, node_row);
      end
    end
  endfunction

  function [383:0] nodes_of(input integer is_y);
    integer i;
    for (i = 0; i < 16; i = i + 1) nodes_of[24*i+:24] = node(is_y, cell_x - 2 + i % 4, cell_y - 2 + i / 4);
  endfunction

  // Only where the frame is larger than the picture: elsewhere the taps are inside by themselves.
  function integer repeated(input integer i, input integer count, input integer frame);
    repeated = frame > count ? inside_of(i, count) : i;
  endfunction

  function [127:0] luma_block();
    integer i;
    integer row_start;
    for (i = 0; i < 16; i = i + 1) begin
      row_start = repeated(rows[14*(i/4)+:14], height, frame_height) * width;
      luma_block[8*i+:8] = source[row_start+repeated(columns[14*(i%4)+:14], width, frame_width)];
    end
  endfunction

  function [63:0] chroma_quads();
    integer i;
    for (i = 0; i < 4; i = i + 1)
      chroma_quads[16*i+:16] = pair_at(repeated(chroma_columns[14*(i%2)+:14], width / 2, frame_width / 2),
                                       repeated(chroma_rows[14*(i/2)+:14], height / 2, frame_height / 2));
  endfunction

  // Outside the source luma is 0 and chroma is neutral.
  task fetch;
    begin
      if (fetched !== {cell_y, cell_x} && cell_x > 6'd0 && cell_y > 6'd0) begin
        fetched = {cell_y, cell_x};
        nodes_x = nodes_of(0);
        nodes_y = nodes_of(1);
      end
      block = is_inside ? luma_block() : 128'd0;
      quads = is_inside ? chroma_quads() : {8{8'd128}};
    end
  endtask

  // What an axis of the picture gives the engine: how many fraction bits its scale has, and the scale. The grid's frame
  // is 8192 x 6144.
  function [2:0] shifter_of(input integer size, input integer frame);
    integer i;
    begin
      shifter_of = 3'd0;
      for (i = 0; i < 7; i = i + 1) if (2 * size > frame >> i && shifter_of == 3'd0) shifter_of = 7 - i;
    end
  endfunction

  function [15:0] scale_of(input integer size, input integer frame);
    integer scale;
    begin
      scale = (size / 2 + (frame << (shifter_of(size, frame) + 8))) / size;
      scale_of = scale > 65535 ? 65535 : scale;
    end
  endfunction

  task warp;
    integer i, at, x, y;
    begin
      frame_width = width < 96 ? 96 : (width + 15) / 16 * 16;
      frame_height = height < 64 ? 64 : (height + 1) / 2 * 2;
      if (frame_width > 8192 || frame_height > 6144)
        $fatal(1, "pictures: %0dx%0d, expected at most 8192x6144", width, height);
      shifter_x = shifter_of(frame_width, 8192);
      shifter_y = shifter_of(frame_height, 6144);
      scale_x = scale_of(frame_width, 8192);
      scale_y = scale_of(frame_height, 6144);
      inv_scale_y = (8 * frame_height + 3) / 6;
      for (i = 0; i < width * height + 17; i = i + 1) begin
        column = i % width;
        row = inside_of(i / width, height);
        fetch;
        tick;
        at = i - 15;
        x = at % width;
        y = at / width;
        if (!gray && at >= 0 && at < width * height && x % 2 == 0 && y % 2 == 0) begin
          compare(1, x / 2, y / 2, warped_chroma[0]);
          compare(2, x / 2, y / 2, warped_chroma[1]);
        end
        at = i - 17;
        if (at >= 0) compare(0, at % width, at / width, warped);
      end
    end
  endtask

  // ---- The request
  reg gray;
  initial begin
    gray = $test$plusargs("gray");
    if (!$value$plusargs("width=%d", width)) width = 0;
    if (!$value$plusargs("height=%d", height)) height = 0;
    if (!$value$plusargs("to_width=%d", to_width)) to_width = width;
    if (!$value$plusargs("to_height=%d", to_height)) to_height = height;
    if (to_width < 1 || to_height < 1 || to_width > width || to_height > height || width * height > MAX / 3 * 2)
      $fatal(1, "pictures: %0dx%0d to %0dx%0d, expected a reduction of up to %0d samples", width, height, to_width,
             to_height, MAX / 3 * 2);
    if (!$value$plusargs("source=%s", path)) $fatal(1, "pictures: +source is missing");
    open;
    close($fread(source, file), gray ? width * height : width * height / 2 * 3);
    samples = gray ? to_width * to_height : to_width * to_height / 2 * 3;
    saves = $test$plusargs("output=");
    if (!saves) begin
      if (!$value$plusargs("expected=%s", path)) $fatal(1, "pictures: +expected and +output are missing");
      open;
      close($fread(expected, file), samples);
    end
    if ($value$plusargs("grid=%s", path)) begin
      open;
      close($fread(grid, file), 8712);
      warp;
    end else begin
      reduce_rows;
      reduce_columns;
      if (!gray) reduce_chroma;
    end
    if (saves) save;
    else $display("pictures: %0d samples, 0 differ", compared);
    $finish(0);
  end
endmodule
