#include "tools/vantor/clip/frame_task.h"

namespace vantor::tool {

FrameTask::FrameTask(const FramePlan& plan)
    : plan_(plan),
      src_(plan.working, plan.src, plan.request.backend()),
      dst_(plan.working, plan.dst, plan.request.backend()) {}

WorkingPicture FrameTask::share(WorkingMemory& memory, const Planes& frame) const {
    WorkingPicture picture = memory.picture();
    Planes& planes = picture.planes;
    const bool isPacked = frame.size == planes.size && frame.lumaStride == planes.lumaStride;
    if (plan_.request.backend() == Backend::Hardware || frame.format == PixelFormat::Rgb || !isPacked)
        return picture;
    planes.luma = frame.luma;
    if (frame.format == PixelFormat::Nv12 && planes.format == PixelFormat::Nv12) planes.chroma = frame.chroma;
    return picture;
}

RequestResult FrameTask::run(uint8_t* read, uint8_t* written) {
    const Planes input = planesIn(plan_.read, read);
    const Planes output = planesIn(plan_.written, written);
    const WorkingPicture src = share(src_, input);
    const WorkingPicture dst = share(dst_, output);
    toWorking(input, src.planes, plan_.color);
    const RequestResult result = runRequest(dst, src, plan_.request, plan_.watch);
    fromWorking(dst.planes, output, plan_.color);
    return result;
}

}  // namespace vantor::tool
