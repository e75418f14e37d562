#include "recorder/RecordingSelector.h"

#include <utils/Timers.h>

#include <algorithm>

#include "metadatautils/StaticMetadataWraper.h"

namespace recorder {

using zohal::ZSLFrameCheckInfo;
using zohal::ZSLFrameSelectInfo;

namespace {

constexpr uint32_t kRequestsPerFile = 1000;
constexpr size_t kBytesPerFile = 4U << 20;

const char* textOf(bool flag) { return flag ? "true" : "false"; }

std::string askedOf(const ZSLFrameSelectInfo& info) {
    const ZoMetadata* const metadata = info.requestMetas.empty() ? nullptr : info.requestMetas.front().get();
    std::string text;
    put(text, "frame: ", info.fwkFrame, "\n  used: ", info.usedZslFrames, "\n  master: ", info.reqtMasterId,
        "\n  need: ", info.requestMetas.size(), "\n  metadata: ",
        tagsOf(metadata, {"android.control.enableZsl", "nexaro.ai.zosd.motionCaptureEnabledIcon", "nexaro.hdr.enabled",
                          "nexaro.hdr.sr.enabled", "nexaro.mfnr.anchorTimeStamp", "nexaro.ai.zosd.motionCaptureType",
                          "nexaro.camera.zoseamlesspolicy.result"}),
        "\n");
    return text;
}

std::string checkOf(const ZSLFrameCheckInfo& info) {
    std::string text;
    put(text, "    camera: ", info.logicalId, "\n    role: ", info.masterRoleId, "\n    frames: ", info.AiHLFrameNum,
        "\n    metadata: ",
        tagsOf(info.requestMeta.get(),
               {"com.nexaro.camera.sensorpolicy.mcxFrameresult", "com.nexaro.ext.control.policy.sensorMode"}),
        "\n");
    return text;
}

void appendQueues(std::string& text, const Notes& queues) {
    text += "  queues:\n";
    bool changed = false;
    for (const auto& queue : queues) {
        if (!queue) continue;
        append(text, *queue);
        changed |= queue->changed;
    }
    if (changed) text += "  # one question had two answers: this may not replay exactly\n";
    if (std::count(queues.begin(), queues.end(), nullptr) != 0) text += "  # null queue handles are left out\n";
}

void append(std::string& text, const Request& request) {
    put(text, "- ", request.asked, "  clock: ", request.clockNs, "\n");
    if (!request.adapter.empty()) put(text, "  adapter: ", request.adapter, "\n");
    if (request.complete) appendQueues(text, request.queues);
    // By default the gate's answer decides.
    if (request.gate != request.selection.has_value())
        put(text, "  select: ", request.selection ? "always" : "never", "\n");
    put(text, "  check:\n    of: ", request.checked, "\n", request.check, "  expect:\n");
    if (request.gate) put(text, "    gate: ", textOf(*request.gate), "\n");
    if (request.selection) {
        put(text, "    selection:", request.selection->empty() ? " {}\n" : "\n");
        for (const auto& [queue, frames] : *request.selection) put(text, "      ", queue, ": ", frames, "\n");
    }
    if (!request.checks.empty()) text += "    checks:\n";
    for (const auto& [frame, result] : request.checks)
        put(text, "      ", frame, ": [", textOf(result.first), ", ", textOf(result.second), "]\n");
    text += request.comments;
}

}  // namespace

RecordingSelector::RecordingSelector(std::shared_ptr<Recorder> recorder, std::shared_ptr<ZSLSelectorBase> real)
    : mRecorder(std::move(recorder)), mReal(std::move(real)) {
    mName = (*mReal).*(&RecordingSelector::mName);
}

RecordingSelector::~RecordingSelector() {
    mRecorder->attempt([this] { end(); });
}

// `goesOn`: with the queues of the latest request, whose notes are continued. `note` gets the answer and what the call
// was made with.
template <typename Result, typename Info, typename Note>
Result RecordingSelector::pass(Result (ZSLSelectorBase::*operation)(const Info&), const Info& info, bool goesOn,
                               Note note) {
    std::optional<Info> recorded;
    Call call;
    mRecorder->attempt([&] {
        if (goesOn) call.notes = mRequest->queues;
        recorded = info;
        recorded->zslQueues = call.queues = recordedQueues(info.zslQueues, call.notes);
        call.clockNs = systemTime(SYSTEM_TIME_BOOTTIME);
    });
    if (!mRecorder->on) return (mReal.get()->*operation)(info);
    try {
        Result result = (mReal.get()->*operation)(*recorded);
        mRecorder->attempt([&] { note(result, call); });
        return result;
    } catch (...) {
        mRecorder->attempt([this] {
            if (mRequest) mRequest->comments += "  # a call behind it ended in an exception and is left out\n";
        });
        throw;
    }
}

bool RecordingSelector::isSelectorNeeded(const ZSLFrameSelectInfo& info) {
    return pass(&ZSLSelectorBase::isSelectorNeeded, info, false, [&](bool needed, const Call& call) {
        begin(info, call);
        mRequest->gate = needed;
        mRequest->adapter = adapterAnswer();
        if (mRequest->adapter[0] <= '9') mMotionWord = mRequest->adapter;
        if (!needed) complete(call);  // else when the selection has read the queues
    });
}

zohal::SelectionResult RecordingSelector::selectZSLFrames(const ZSLFrameSelectInfo& info) {
    return pass(&ZSLSelectorBase::selectZSLFrames, info, false,
                [&](const zohal::SelectionResult& selection, const Call& call) {
                    if (!mRequest || !mRequest->gate || mRequest->selection || mRequest->asked != askedOf(info)) {
                        begin(info, call);
                        mRequest->comments += "  # the gate was not asked, but is in a replay\n";
                    }
                    mRequest->selection = selection;
                    complete(call);
                });
}

zohal::ZSLSelectorResult RecordingSelector::checkFrame(const ZSLFrameCheckInfo& info) {
    const auto same = [](const auto& note, const auto& queue) { return (note ? note->queue : nullptr) == queue.get(); };
    const bool belongs = mRequest && mRequest->frame == info.fwkFrameNum &&
                         mRequest->master == static_cast<uint32_t>(info.reqtMasterId) &&
                         std::equal(mRequest->queues.begin(), mRequest->queues.end(), info.zslQueues.begin(),
                                    info.zslQueues.end(), same);
    return pass(&ZSLSelectorBase::checkFrame, info, belongs, [&](zohal::ZSLSelectorResult result, const Call& call) {
        if (!mRequest) return;
        const std::string check = checkOf(info);
        if (!belongs || (!mRequest->checked.empty() && mRequest->check != check)) {
            return put(mRequest->comments, "  # a check of frame ", info.checkFrameNum,
                       ", of another request, is left out\n");
        }
        mRequest->check = check;
        mRequest->checked.push_back(info.checkFrameNum);
        const std::pair<bool, bool> flags(result.first, result.second);
        const auto noted = mRequest->checks.try_emplace(info.checkFrameNum, flags).first;
        if (noted->second != flags) mRequest->comments += "  # a frame was checked with two results\n";
        noted->second = flags;
        mCamera = info.logicalId;
        if (!mRequest->selection) complete(call);
    });
}

void RecordingSelector::begin(const ZSLFrameSelectInfo& info, const Call& call) {
    end();
    mRequest.emplace();
    mRequest->frame = info.fwkFrame;
    mRequest->master = info.reqtMasterId;
    mRequest->asked = askedOf(info);
    mRequest->queues = call.notes;
    mRequest->clockNs = call.clockNs;
}

void RecordingSelector::complete(const Call& call) {
    askForRest(call.queues, call.notes);
    mRequest->queues = call.notes;
    mRequest->clockNs = call.clockNs;
    mRequest->complete = true;
}

void RecordingSelector::end() {
    if (!mRequest) return;
    std::string text;
    if (!mFile || mRequestsInFile >= kRequestsPerFile || mFile->size() >= kBytesPerFile) {
        mFile = std::make_unique<CaseFile>(*mRecorder);
        mRequestsInFile = 0;
        put(text, "recorded: 1\nproperties: {vendor.zohal.selector.motion.zsl.disable: ", mRecorder->motionSwitch,
            "}\n");
        if (mCamera) {
            const auto metadata = StaticMetadataWraper::getInstance()->getStaticMetadata(*mCamera);
            put(text, "staticMetadata:\n  ", *mCamera, ": ",
                tagsOf(metadata.get(), {"com.nexaro.camera.sensorpolicy.mask"}), "\n");
        }
        put(text, "requests:\n", mState);
    }
    append(text, *mRequest);
    text += "# end\n";
    mFile->append(text);
    ++mRequestsInFile;
    if (mRequest->gate) {
        mState.clear();
        put(mState, "- name: the state that former requests left\n  ", mRequest->asked, "  adapter: ", mMotionWord,
            "\n  select: never\n# end\n");
    }
    mRequest.reset();
}

}  // namespace recorder
