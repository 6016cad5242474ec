// What vantor_dpi.sv imports; it says what the functions do. Those that return int return a negative status
// where they fail, and vantor_dpi_message() says why.
#pragma once

#include <svdpi.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

const char* vantor_dpi_message(void);
const char* vantor_dpi_version(void);

void* vantor_dpi_picture_new(int format, int width, int height);
void vantor_dpi_picture_free(void* picture);
int vantor_dpi_picture_load(void* picture, const char* path);
int vantor_dpi_picture_set_row(void* picture, int plane, int y, const svOpenArrayHandle row);
int vantor_dpi_picture_get_row(void* picture, int plane, int y, const svOpenArrayHandle row);
int vantor_dpi_picture_set(void* picture, int plane, int x, int y, int value);
int vantor_dpi_picture_get(void* picture, int plane, int x, int y);
int vantor_dpi_picture_scale(void* dst, void* src);
int vantor_dpi_picture_warp(void* dst, void* src, void* grid);
int vantor_dpi_picture_compare(void* a, void* b, int* component, int* x, int* y, int* in_a, int* in_b);

void* vantor_dpi_grid_new(void);
void vantor_dpi_grid_free(void* grid);
int vantor_dpi_grid_load(void* grid, const char* path);
int vantor_dpi_grid_set(void* grid, const svOpenArrayHandle dx, const svOpenArrayHandle dy);
int vantor_dpi_grid_set_node(void* grid, int column, int row, int dx, int dy);
int vantor_dpi_grid_get_node(void* grid, int column, int row, int* dx, int* dy);

void* vantor_dpi_cov_new(void);
void vantor_dpi_cov_free(void* coverage);
int vantor_dpi_cov_sample(void* coverage, void* dst, void* src, void* grid);
const char* vantor_dpi_cov_report(void* coverage);
const char* vantor_dpi_cov_json(void* coverage);

int vantor_dpi_luma_filter(const svBitVecVal* samples, int phase);
int vantor_dpi_luma_filter_2d(const svBitVecVal* samples, int phase_x, int phase_y);
int vantor_dpi_chroma_filter(int left, int right, int phase);
int vantor_dpi_chroma_filter_2d(const svBitVecVal* samples, int phase_x, int phase_y);
int vantor_dpi_interp4_row(const svBitVecVal* samples, int phase, int* filtered);
int vantor_dpi_interp4_column(const svBitVecVal* filtered, int phase);
int vantor_dpi_interp4_chroma(int left, int right, int weight);

int vantor_dpi_axis(int is_y, int size, int* scale, int* shifter, int* inv_scale);
int vantor_dpi_virtual_position(int is_y, int size, int position, int* cell, int* within);
int vantor_dpi_displacement(const svBitVecVal* nodes, int cell_x, int within_x, int cell_y, int within_y,
                            int* displacement);
int vantor_dpi_source_position(int is_y, int size, int position, int displacement, int* coordinate,
                               int* index, int* fraction);
int vantor_dpi_grid_position(void* grid, int width, int height, int x, int y, int* source_x, int* source_y);
int vantor_dpi_luma_taps(int index, int size, svBitVecVal* taps);
int vantor_dpi_chroma_taps(int index, int size, svBitVecVal* taps);
int vantor_dpi_bicubic_sampler(const svBitVecVal* samples, int fraction_x, int fraction_y);
int vantor_dpi_chroma_sampler(const svBitVecVal* samples, int index_x, int fraction_x, int index_y,
                              int fraction_y);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
