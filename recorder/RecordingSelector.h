// The selector that the core gets while requests are recorded. It passes every virtual operation on to the real
// selector and writes afterwards what was asked and answered. Once recording has stopped it only passes on.

#pragma once

#include <optional>

#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"
#include "recorder/CaseFile.h"
#include "recorder/RecordedQueue.h"
#include "recorder/Recorder.h"

namespace recorder {

// A request as a case has it.
struct Request {
    // The tail is what checks change. It ends with the line that tells a whole request from one that was cut off.
    std::string body() const;
    std::string tail() const;

    Answers fields;                // what was asked, and what the core was seen to answer
    Answers expect;                // what the real selector answered
    Notes queues;                  // in the core's order
    Answers checks;                // by frame
    FrameList checked;             // in the order of the checks
    std::string checkOf;           // what the checks have in common
    std::string comments;          // why a replay may differ
    std::optional<size_t> offset;  // in its file; absent until it is written
    size_t bodySize = 0;           // as written; 0 where it has to be written anew
};

// An extension selector, since a core may know the layout of those. Of the real selector's members it has the name and
// the policy mask; the others are the core's own, which no selector reads.
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
    void begin(const char* comment);
    void noteAsked(const zohal::ZSLFrameSelectInfo& info, const Notes& notes);
    void noteCamera(const std::string& camera, const ZoMetadata* staticMetadata);
    void write();

    const std::shared_ptr<Recorder> mRecorder;
    const std::shared_ptr<ZSLSelectorBase> mReal;  // declared behind what keeps its library: released before
    std::optional<Request> mRequest;               // the latest
    std::string mState;                            // that requests have left, as a request that brings it about
    std::string mMotionWord = "absent";            // the adapter's latest
    Answers mStaticTags;                           // by camera
    std::unique_ptr<CaseFile> mFile;
    uint32_t mRequestsInFile = 0;
    bool mChecksOnly = false;  // checks of the latest request are not written yet
    int64_t mClockNs = 0;      // just before the latest call
};

}  // namespace recorder
