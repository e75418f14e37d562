// The selector that the core gets while requests are recorded. It passes every virtual operation on to the real
// selector and writes afterwards what was asked and answered. Once recording has stopped it only passes on.

#pragma once

#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"
#include "recorder/CaseFile.h"
#include "recorder/RecordedQueue.h"
#include "recorder/Recorder.h"

namespace recorder {

// An extension selector, since a core may know the layout of those. What the core can see of the real selector's
// members is copied; those that the core sets itself no selector reads.
class RecordingSelector final : public ZSLSelectorExt {
public:
    RecordingSelector(std::shared_ptr<Recorder> recorder, std::shared_ptr<ZSLSelectorBase> real);

    bool isSelectorNeeded(const zohal::ZSLFrameSelectInfo& info) override;
    zohal::ZSLSelectorResult checkFrame(const zohal::ZSLFrameCheckInfo& info) override;
    int preCheckFrame(std::vector<uint32_t>& zslFrames, int flags) override;
    zohal::ZSLSelectorResult checkDesiredSensorMode(const zohal::ZSLFrameCheckInfo& info) override;
    zohal::SelectionResult selectZSLFrames(const zohal::ZSLFrameSelectInfo& info) override;

private:
    template <typename Result, typename Info, typename Note>
    Result pass(Result (ZSLSelectorBase::*operation)(const Info&), const Info& info, Notes notes, Note note);
    zohal::ZSLSelectorResult check(
        zohal::ZSLSelectorResult (ZSLSelectorBase::*operation)(const zohal::ZSLFrameCheckInfo&),
        const zohal::ZSLFrameCheckInfo& info);

    void begin(uint32_t fwkFrame, uint32_t master, const char* comment);
    void noteAsked(const zohal::ZSLFrameSelectInfo& info, const Notes& notes);
    void noteCamera(uint32_t camera);
    void write();

    const std::shared_ptr<Recorder> mRecorder;
    const std::shared_ptr<ZSLSelectorBase> mReal;  // declared behind what keeps its library: released before
    std::optional<Request> mRequest;               // the latest
    std::string mState;                            // that requests have left, as a request that brings it about
    std::string mMotionWord = "absent";            // the adapter's latest
    std::map<uint32_t, std::string> mStaticTags;   // by camera
    std::unique_ptr<CaseFile> mFile;
    uint32_t mRequestsInFile = 0;
    int64_t mClockNs = 0;  // just before the latest call
};

}  // namespace recorder
