#include "tools/vantor/clip/frame_task.h"

namespace vantor::tool {

PixelFormat FramePlan::working() const {
    const bool isOneLayout = read.format == written.format && isSubsampled(read.format);
    return isOneLayout && read.size.isEven() && !usesClient() ? read.format
                                                              : workingFormat(read.format, written.format);
}

Size FramePlan::worked(Size frame) const {
    if (usesClient() && request.isWarp()) return deviceSize(frame);
    return working() == PixelFormat::Gray ? frame : frame.roundedUp(2, 2);
}

FrameTask::Side::Side(const FramePlan& plan, const FrameShape& shape)
    : isLumaShared_(!plan.usesClient() && shape.format != PixelFormat::Rgb &&
                    plan.worked(shape.size) == shape.size) {
    if (isLumaShared_ && shape.format == plan.working()) return;
    memory_.emplace(plan.working(), plan.worked(shape.size), plan.request.backend());
}

WorkingPicture FrameTask::Side::picture(const Planes& frame) const {
    if (!memory_) return {frame, fullRegion(frame.size)};
    WorkingPicture picture = memory_->picture();
    if (isLumaShared_) {
        picture.planes.luma = frame.luma;
        picture.planes.lumaStride = frame.lumaStride;
    }
    return picture;
}

FrameTask::FrameTask(const FramePlan& plan, size_t threads)
    : plan_(plan), src_(plan, plan.read), dst_(plan, plan.written), engine_(threads) {}

RequestResult FrameTask::run(uint8_t* read, uint8_t* written, const Request& request) {
    const Planes input = planesIn(plan_.read, read);
    const Planes output = planesIn(plan_.written, written);
    const WorkingPicture src = src_.picture(input);
    const WorkingPicture dst = dst_.picture(output);
    toWorking(input, src.planes, plan_.color);
    const RequestResult result = plan_.usesClient() ? runRequest(dst, src, request, plan_.watch)
                                                    : engine_.run(dst.planes, src.planes, request);
    fromWorking(dst.planes, output, plan_.color);
    if (plan_.expandsRange) expandRange(output);
    return result;
}

}  // namespace vantor::tool
