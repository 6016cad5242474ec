#include "gdc_model/gdc_core.h"

#include "gdc_model/gdc_run.h"

void GdcCore(unsigned short* dst, unsigned short* src, int* gridDX, int* gridDY, int W, int H,
             int /*spareWidth*/, int /*spareHeight*/, int scaleShifterX, int scaleShifterY, int scaleX,
             int scaleY, int invScaleX, int invScaleY, int outScaleX, int outScaleY, int outCropStartX,
             int outCropStartY, int outW, int outH) {
    vantor::GdcFrame frame{};
    frame.x = {W, scaleShifterX, scaleX, invScaleX, outScaleX, outCropStartX, outW, 0, 0};
    frame.y = {H, scaleShifterY, scaleY, invScaleY, outScaleY, outCropStartY, outH, 0, 0};
    vantor::runGdc(frame, dst, src, gridDX, gridDY);
}
