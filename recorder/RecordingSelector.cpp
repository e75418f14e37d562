#include "recorder/RecordingSelector.h"

#include <utils/Timers.h>

#include <algorithm>
#include <utility>

#include "metadatautils/StaticMetadataWraper.h"

namespace recorder {

using zohal::ZSLFrameCheckInfo;
using zohal::ZSLFrameSelectInfo;

namespace {

constexpr uint32_t kRequestsPerFile = 1000;
constexpr size_t kBytesPerFile = 4U << 20;

}  // namespace

std::string Request::body() const {
    Answers all = fields;
    // By default gate and selection agree.
    const bool selected = expect.has("selection");
    if (!expect.is("gate", selected ? "true" : "false")) all["select"] = selected ? "always" : "never";
    all["queues"] = joined('[', queues, ']', [](const auto& queue) {
        // A gate that takes the request leaves them to the selection.
        return queue && queue->answers.has("all") ? queue->text() : "";
    });
    std::string text;
    for (const auto& [name, value] : all) text += (text.empty() ? "- " : "  ") + name + ": " + value + '\n';
    return text;
}

std::string Request::tail() const {
    Answers expected = expect;
    if (!checked.empty()) expected["checks"] = checks.text();
    bool changed = fields.changed || checks.changed;
    for (const auto& queue : queues) changed |= queue && queue->answers.changed;
    std::string text = "  check: {of: " + textOf(checked) + (checked.empty() ? "" : ", ") + checkOf +
                       "}\n  expect: " + expected.text() + '\n' + comments;
    if (changed) text += "  # one question had two answers: this may not replay exactly\n";
    if (std::count(queues.begin(), queues.end(), nullptr) != 0) text += "  # null queue handles are left out\n";
    return text + "# end\n";
}

RecordingSelector::RecordingSelector(std::shared_ptr<Recorder> recorder, std::shared_ptr<ZSLSelectorBase> real)
    : mRecorder(std::move(recorder)), mReal(std::move(real)) {
    mName = (*mReal).*(&RecordingSelector::mName);
}

RecordingSelector::~RecordingSelector() {
    mRecorder->attempt([this] {
        if (mChecksOnly) write();
    });
}

// `goesOn`: with the queues of the latest request, whose notes are continued. `note` gets the answer, the recorded
// queues and their notes.
template <typename Result, typename Info, typename Note>
Result RecordingSelector::pass(Result (ZSLSelectorBase::*operation)(const Info&), const Info& info, bool goesOn,
                               Note note) {
    std::optional<Info> recorded;
    Notes notes;
    mRecorder->attempt([&] {
        if (goesOn) notes = mRequest->queues;
        recorded = info;
        recorded->zslQueues = recordedQueues(info.zslQueues, notes);
        mClockNs = systemTime(SYSTEM_TIME_BOOTTIME);
    });
    if (!mRecorder->on) return (mReal.get()->*operation)(info);
    try {
        Result result = (mReal.get()->*operation)(*recorded);
        mRecorder->attempt([&] {
            note(result, recorded->zslQueues, notes);
            if (!mChecksOnly) write();
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
    return pass(&ZSLSelectorBase::isSelectorNeeded, info, false,
                [&](bool needed, const Queues& queues, const Notes& notes) {
                    begin("");
                    noteAsked(info, notes);
                    mRequest->expect["gate"] = needed ? "true" : "false";
                    const std::string adapter = mRequest->fields["adapter"] = adapterAnswer();
                    if (adapter[0] <= '9') mMotionWord = adapter;
                    if (!needed) askForRest(queues, notes);  // else when the selection has read them
                });
}

zohal::SelectionResult RecordingSelector::selectZSLFrames(const ZSLFrameSelectInfo& info) {
    return pass(&ZSLSelectorBase::selectZSLFrames, info, false,
                [&](const zohal::SelectionResult& selection, const Queues& queues, const Notes& notes) {
                    const bool follows = mRequest && mRequest->fields.is("frame", textOf(info.fwkFrame)) &&
                                         mRequest->expect.has("gate") && !mRequest->expect.has("selection");
                    if (!follows) begin("  # the gate was not asked, but is in a replay\n");
                    noteAsked(info, notes);
                    mRequest->expect["selection"] = joined('{', selection, '}', [](const auto& queue) {
                        return textOf(queue.first) + ": " + textOf(queue.second);
                    });
                    askForRest(queues, notes);
                });
}

zohal::ZSLSelectorResult RecordingSelector::checkFrame(const ZSLFrameCheckInfo& info) {
    const auto same = [](const auto& note, const auto& queue) { return (note ? note->queue : nullptr) == queue.get(); };
    const bool sameQueues = mRequest && std::equal(mRequest->queues.begin(), mRequest->queues.end(),
                                                   info.zslQueues.begin(), info.zslQueues.end(), same);
    const auto note = [&](zohal::ZSLSelectorResult result, const Queues& queues, const Notes& notes) {
        const std::string camera = textOf(info.logicalId);
        const std::string of = "camera: " + camera + ", role: " + textOf(info.masterRoleId) +
                               ", frames: " + textOf(info.AiHLFrameNum) + ", metadata: " +
                               textOf(info.requestMeta.get(), {"com.nexaro.camera.sensorpolicy.mcxFrameresult",
                                                               "com.nexaro.ext.control.policy.sensorMode"});
        Answers fields;
        fields["frame"] = textOf(info.fwkFrameNum);
        fields["master"] = textOf(static_cast<uint32_t>(info.reqtMasterId));
        const bool belongs = sameQueues && mRequest->fields.is("frame", fields["frame"]) &&
                             mRequest->fields.is("master", fields["master"]) &&
                             (mRequest->checked.empty() || mRequest->checkOf == of);
        if (!belongs) {
            begin("  # checked apart from its request: the gate was not asked, but is in a replay\n");
            mRequest->fields = fields;
            mRequest->queues = notes;
        }
        mChecksOnly = belongs && mRequest->expect.has("selection");
        mRequest->checkOf = of;
        mRequest->checked.push_back(info.checkFrameNum);
        mRequest->checks.note(textOf(info.checkFrameNum).c_str(), textOf(result));
        if (!mRequest->expect.has("selection")) askForRest(queues, notes);
        noteCamera(camera, StaticMetadataWraper::getInstance()->getStaticMetadata(info.logicalId).get());
    };
    return pass(&ZSLSelectorBase::checkFrame, info, sameQueues, note);
}

void RecordingSelector::begin(const char* comment) {
    if (mRequest && mRequest->expect.has("gate")) {
        mState = "- {name: the state that former requests left, select: never, adapter: " + mMotionWord +
                 ", metadata: " + mRequest->fields["metadata"] + "}\n# end\n";
    }
    if (mChecksOnly) write();
    mRequest.emplace();
    mRequest->comments = comment;
}

void RecordingSelector::noteAsked(const ZSLFrameSelectInfo& info, const Notes& notes) {
    const ZoMetadata* const metadata = info.requestMetas.empty() ? nullptr : info.requestMetas.front().get();
    mRequest->fields["frame"] = textOf(info.fwkFrame);
    mRequest->fields["used"] = textOf(info.usedZslFrames);
    mRequest->fields["master"] = textOf(info.reqtMasterId);
    mRequest->fields["need"] = std::to_string(info.requestMetas.size());
    mRequest->fields["clock"] = textOf(mClockNs);
    mRequest->fields.note(
        "metadata", textOf(metadata, {"android.control.enableZsl", "nexaro.ai.zosd.motionCaptureEnabledIcon",
                                      "nexaro.hdr.enabled", "nexaro.hdr.sr.enabled", "nexaro.mfnr.anchorTimeStamp",
                                      "nexaro.ai.zosd.motionCaptureType", "nexaro.camera.zoseamlesspolicy.result"}));
    mRequest->queues = notes;
    mRequest->bodySize = 0;
}

// A camera's static metadata belongs into the head: with it, the request moves to a new file.
void RecordingSelector::noteCamera(const std::string& camera, const ZoMetadata* staticMetadata) {
    if (staticMetadata == nullptr || mStaticTags.has(camera.c_str())) return;
    mStaticTags[camera] = textOf(staticMetadata, {"com.nexaro.camera.sensorpolicy.mask"});
    if (mFile && mRequest->offset) mFile->rewrite(*mRequest->offset, {});
    mRequest->offset.reset();
    mFile.reset();
    mChecksOnly = false;
}

void RecordingSelector::write() {
    mChecksOnly = false;
    if (!mRequest->offset) {
        if (!mFile || mRequestsInFile >= kRequestsPerFile || mFile->size() >= kBytesPerFile) {
            const std::string& motionSwitch = mRecorder->motionSwitch;
            mFile = std::make_unique<CaseFile>(
                *mRecorder, "recorded: 1\nproperties: {vendor.zohal.selector.motion.zsl.disable: " +
                                (motionSwitch.empty() ? "null" : textOf(motionSwitch)) +
                                "}\nstaticMetadata: " + mStaticTags.text() + "\nrequests:\n" + mState);
            mRequestsInFile = 0;
        }
        mRequest->offset = mFile->size();
        mRequest->bodySize = 0;
        ++mRequestsInFile;
    }
    // Checks change the tail alone, as long as the queues say what they said before.
    bool newBody = mRequest->bodySize == 0;
    for (const auto& queue : mRequest->queues) newBody |= queue && std::exchange(queue->answers.fresh, false);
    const std::string body = newBody ? mRequest->body() : "";
    if (newBody) mRequest->bodySize = body.size();
    mFile->rewrite(*mRequest->offset + mRequest->bodySize - body.size(), body + mRequest->tail());
}

}  // namespace recorder
