#include "recorder/Recorder.h"

// The one member of the class that is not inline. It is the HAL core's, and nothing says that the core exports it: this
// copy stays within the recorder.
zohal::ZSLFrameQueue::~ZSLFrameQueue() = default;

extern "C" void createZSLSelector(recorder::Selectors& selectors);

// Made when the library is loaded, so that the real plug-in is loaded with it.
static const std::shared_ptr<recorder::Recorder> gRecorder = recorder::openRecorder(&createZSLSelector);

extern "C" void createZSLSelector(recorder::Selectors& selectors) {
    if (gRecorder) recorder::createSelectors(gRecorder, selectors);
}
