#include "recorder/RecordingSelector.h"

#include <utils/Timers.h>

#include <algorithm>
#include <utility>

#include "metadatautils/StaticMetadataWraper.h"

namespace recorder {

using zohal::ZSLFrameCheckInfo;
using zohal::ZSLFrameSelectInfo;
using zohal::ZSLSelectorBase;
using zohal::ZSLSelectorResult;

namespace {

constexpr uint32_t kRequestsPerFile = 1000;
constexpr size_t kBytesPerFile = 4U << 20;

}  // namespace

RecordingSelector::RecordingSelector(std::shared_ptr<Recorder> recorder, std::shared_ptr<ZSLSelectorBase> real)
    : mRecorder(std::move(recorder)), mReal(std::move(real)) {
    mName = (*mReal).*(&RecordingSelector::mName);
    mCoreStatus = (*mReal).*(&RecordingSelector::mCoreStatus);
    mCoreEnabled = (*mReal).*(&RecordingSelector::mCoreEnabled);
    mCoreFlag1 = (*mReal).*(&RecordingSelector::mCoreFlag1);
    mCoreFlag2 = (*mReal).*(&RecordingSelector::mCoreFlag2);
}

// `notes`: of an earlier call with the same queues, or none. `note` gets the answer, the recorded queues and their
// notes.
template <typename Result, typename Info, typename Note>
Result RecordingSelector::pass(Result (ZSLSelectorBase::*operation)(const Info&), const Info& info, Notes notes,
                               Note note) {
    std::optional<Info> recorded;
    mRecorder->attempt([&] {
        recorded = info;
        recorded->zslQueues = recordedQueues(info.zslQueues, notes);
        mClockNs = systemTime(SYSTEM_TIME_BOOTTIME);
    });
    if (!mRecorder->on) return (mReal.get()->*operation)(info);
    try {
        Result result = (mReal.get()->*operation)(*recorded);
        mSensorPolicyMask = (*mReal).*(&RecordingSelector::mSensorPolicyMask);
        mRecorder->attempt([&] {
            note(result, recorded->zslQueues, notes);
            write();
        });
        return result;
    } catch (...) {
        mRecorder->attempt([&] {
            if (!mRequest) return;
            mRequest->comments += "  # the call after it ended in an exception and is left out\n";
            write();
        });
        throw;
    }
}

bool RecordingSelector::isSelectorNeeded(const ZSLFrameSelectInfo& info) {
    const auto note = [&](bool needed, const Queues& queues, const Notes& notes) {
        begin(info.fwkFrame, info.reqtMasterId, "");
        noteAsked(info, notes);
        mRequest->expect["gate"] = needed ? "true" : "false";
        const std::string& adapter = mRequest->fields["adapter"] = adapterAnswer();
        if (adapter.front() <= '9') mMotionWord = adapter;
        if (!needed) askForRest(queues, notes);  // else when the selection has read them
    };
    return pass(&ZSLSelectorBase::isSelectorNeeded, info, {}, note);
}

zohal::SelectionResult RecordingSelector::selectZSLFrames(const ZSLFrameSelectInfo& info) {
    const auto note = [&](const zohal::SelectionResult& selection, const Queues& queues, const Notes& notes) {
        const bool follows = mRequest && mRequest->fwkFrame == info.fwkFrame && mRequest->expect.count("gate") != 0 &&
                             mRequest->expect.count("selection") == 0 && mRequest->checked.empty();
        if (!follows) begin(info.fwkFrame, info.reqtMasterId, "  # the gate was not asked; a replay asks it\n");
        noteAsked(info, notes);
        std::map<uint32_t, std::string> frames;
        for (const auto& [id, list] : selection) frames[id] = textOf(list);
        mRequest->expect["selection"] = textOf(frames);
        askForRest(queues, notes);
    };
    return pass(&ZSLSelectorBase::selectZSLFrames, info, {}, note);
}

ZSLSelectorResult RecordingSelector::checkFrame(const ZSLFrameCheckInfo& info) {
    return check(&ZSLSelectorBase::checkFrame, info);
}

ZSLSelectorResult RecordingSelector::checkDesiredSensorMode(const ZSLFrameCheckInfo& info) {
    return check(&ZSLSelectorBase::checkDesiredSensorMode, info);
}

ZSLSelectorResult RecordingSelector::check(ZSLSelectorResult (ZSLSelectorBase::*operation)(const ZSLFrameCheckInfo&),
                                           const ZSLFrameCheckInfo& info) {
    const auto sameQueue = [](const auto& note, const auto& queue) {
        return note ? note->queue == queue.get() : queue == nullptr;
    };
    const bool goesOn = mRequest && mRequest->fwkFrame == info.fwkFrameNum &&
                        std::equal(mRequest->queues.begin(), mRequest->queues.end(), info.zslQueues.begin(),
                                   info.zslQueues.end(), sameQueue);
    const auto note = [&](ZSLSelectorResult result, const Queues& queues, const Notes& notes) {
        const std::string of = "camera: " + textOf(info.logicalId) + ", role: " + textOf(info.masterRoleId) +
                               ", frames: " + textOf(info.AiHLFrameNum) +
                               ", metadata: " + checkTags(info.requestMeta.get()) + ", ";
        const auto master = static_cast<uint32_t>(info.reqtMasterId);
        const bool belongs =
            goesOn && mRequest->master == master && (mRequest->checked.empty() || mRequest->checkOf == of);
        if (!belongs) {
            begin(info.fwkFrameNum, master, "  # checked apart from its request; a replay asks the gate\n");
            mRequest->fields["need"] = "0";
            mRequest->fields["clock"] = textOf(mClockNs);
            mRequest->queues = notes;
        }
        mRequest->checkOf = of;
        mRequest->checked.push_back(info.checkFrameNum);
        mRequest->checks[info.checkFrameNum] = flagsText(result);
        if (mRequest->expect.count("selection") == 0) askForRest(queues, notes);
        noteCamera(info.logicalId);
    };
    return pass(operation, info, goesOn ? mRequest->queues : Notes(), note);
}

// Nothing of it shows in a case.
int RecordingSelector::preCheckFrame(std::vector<uint32_t>& zslFrames, int flags) {
    return mReal->preCheckFrame(zslFrames, flags);
}

void RecordingSelector::begin(uint32_t fwkFrame, uint32_t master, const char* comment) {
    if (mRequest && mRequest->expect.count("gate") != 0) {
        mState = "- name: the state that former requests left\n  select: never\n  adapter: " + mMotionWord +
                 "\n  metadata: " + mRequest->fields["metadata"] + "\n# end\n";
    }
    mRequest.emplace();
    mRequest->fwkFrame = fwkFrame;
    mRequest->master = master;
    mRequest->comments = comment;
}

void RecordingSelector::noteAsked(const ZSLFrameSelectInfo& info, const Notes& notes) {
    mRequest->fields["used"] = textOf(info.usedZslFrames);
    mRequest->fields["need"] = textOf(info.requestMetas.size());
    mRequest->fields["clock"] = textOf(mClockNs);
    mRequest->fields.note("metadata", requestTags(info.requestMetas.empty() ? nullptr : info.requestMetas[0].get()));
    mRequest->queues = notes;
}

// A camera's static metadata belongs into the head: with it, the request moves to a new file.
void RecordingSelector::noteCamera(uint32_t camera) {
    const auto [tags, isNew] = mStaticTags.try_emplace(camera);
    if (!isNew) return;
    tags->second = staticTags(camera);
    if (tags->second == "{}" || !mFile) return;
    if (mRequest->offset) mFile->rewrite(*mRequest->offset, {});
    mRequest->offset.reset();
    mFile.reset();
}

void RecordingSelector::write() {
    if (!mRequest->offset) {
        if (!mFile || mRequestsInFile >= kRequestsPerFile || mFile->size() >= kBytesPerFile) {
            mFile = std::make_unique<CaseFile>(*mRecorder, headText(mRecorder->motionSwitch, mStaticTags) + mState);
            mRequestsInFile = 0;
        }
        mRequest->offset = mFile->size();
        ++mRequestsInFile;
    }
    mFile->rewrite(*mRequest->offset, mRequest->text());
}

}  // namespace recorder
