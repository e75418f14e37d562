// The selector that the core gets while requests are recorded. It passes every virtual operation on to the real
// selector and notes what was asked and answered. A request is written when it is over: after the gate of the next one
// has answered, or when the selector goes. Once recording has stopped it only passes on.

#pragma once

#include <optional>

#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"
#include "recorder/CaseFile.h"
#include "recorder/RecordedQueue.h"
#include "recorder/Recorder.h"

namespace recorder {

// What the real selector is called with.
struct Call {
    Queues queues;
    Notes notes;
    int64_t clockNs = 0;  // just before
};

// A request as a case has it.
struct Request {
    uint32_t frame = 0;
    uint32_t master = 0;
    std::string asked;      // these two and what else the core hands to gate and selection
    Notes queues;           // in the core's order
    bool complete = false;  // all their questions were asked
    int64_t clockNs = 0;
    std::string adapter;
    std::optional<bool> gate;
    std::optional<zohal::SelectionResult> selection;
    FrameList checked;
    std::string check;                                 // what the checks have in common
    std::map<uint32_t, std::pair<bool, bool>> checks;  // results by frame
    std::string comments;                              // why its replay may differ
};

// An extension selector, since a core may know the layout of those. Of the real selector's members it has the name; the
// others are the core's own, or no core's business.
class RecordingSelector final : public ZSLSelectorExt {
public:
    RecordingSelector(std::shared_ptr<Recorder> recorder, std::shared_ptr<ZSLSelectorBase> real);
    ~RecordingSelector() override;

    bool isSelectorNeeded(const zohal::ZSLFrameSelectInfo& info) override;
    zohal::ZSLSelectorResult checkFrame(const zohal::ZSLFrameCheckInfo& info) override;
    zohal::SelectionResult selectZSLFrames(const zohal::ZSLFrameSelectInfo& info) override;

    // Of these nothing shows in a case.
    int preCheckFrame(FrameList& zslFrames, int flags) override { return mReal->preCheckFrame(zslFrames, flags); }
    zohal::ZSLSelectorResult checkDesiredSensorMode(const zohal::ZSLFrameCheckInfo& info) override {
        return mReal->checkDesiredSensorMode(info);
    }

private:
    template <typename Result, typename Info, typename Note>
    Result pass(Result (ZSLSelectorBase::*operation)(const Info&), const Info& info, bool goesOn, Note note);
    void begin(const zohal::ZSLFrameSelectInfo& info, const Call& call);
    void complete(const Call& call);
    void end();

    const std::shared_ptr<Recorder> mRecorder;
    const std::shared_ptr<ZSLSelectorBase> mReal;  // declared behind what keeps its library: released before
    std::optional<Request> mRequest;               // the latest, not written yet
    std::string mState;                            // that requests have left, as a request that brings it about
    std::string mMotionWord = "absent";            // the adapter's latest
    std::optional<uint32_t> mCamera;               // of the latest check
    std::unique_ptr<CaseFile> mFile;
    uint32_t mRequestsInFile = 0;
};

}  // namespace recorder
