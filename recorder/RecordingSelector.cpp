#include <dlfcn.h>
#include <utils/Timers.h>

#include <algorithm>

#include "adapter/CameraAdapter.h"
#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"
#include "metadatautils/StaticMetadataWraper.h"
#include "recorder/RecordedQueue.h"

namespace recorder {

namespace {

using zohal::ZSLFrameCheckInfo;
using zohal::ZSLFrameSelectInfo;

constexpr uint32_t kRequestsPerFile = 1000;
constexpr size_t kBytesPerFile = 4U << 20;

// As a case has it.
struct Request {
    uint32_t frame = 0;
    uint32_t master = 0;
    std::string asked;  // these two, and what else gate and selection are handed
    int64_t clockNs = 0;
    std::string adapter;
    Notes queues;  // in the core's order
    bool queuesAsked = false;
    std::optional<bool> gate;
    std::optional<zohal::SelectionResult> selection;
    FrameList checked;
    std::string check;                                 // what its checks have in common
    std::map<uint32_t, std::pair<bool, bool>> checks;  // results by frame
    std::string comments;                              // why a replay may differ
};

std::string askedOf(const ZSLFrameSelectInfo& info) {
    const ZoMetadata* const metadata = info.requestMetas.empty() ? nullptr : info.requestMetas.front().get();
    std::string text;
    put(text, "frame: ", info.fwkFrame, "\n  used: ", info.usedZslFrames, "\n  master: ", info.reqtMasterId,
        "\n  need: ", info.requestMetas.size(), "\n  metadata: ",
        tagsOf(metadata, {"android.control.enableZsl", "nexaro.ai.zosd.motionCaptureEnabledIcon", "nexaro.hdr.enabled",
                          "nexaro.hdr.sr.enabled", "nexaro.mfnr.anchorTimeStamp", "nexaro.ai.zosd.motionCaptureType",
                          "nexaro.camera.zoseamlesspolicy.result"}));
    return text;
}

std::string checkOf(const ZSLFrameCheckInfo& info) {
    std::string text;
    put(text, "\n    camera: ", info.logicalId, "\n    role: ", info.masterRoleId, "\n    frames: ", info.AiHLFrameNum,
        "\n    metadata: ",
        tagsOf(info.requestMeta.get(),
               {"com.nexaro.camera.sensorpolicy.mcxFrameresult", "com.nexaro.ext.control.policy.sensorMode"}));
    return text;
}

// What the platform adapter says, in the words of a case: its word, "empty" without a holder, "unavailable" without an
// adapter, "absent" where its library isn't open. Never opens that, and never calls Init().
std::string adapterAnswer() try {
    const auto library = openLibrary("/vendor/lib64/libzocamera_adapter.so", RTLD_NOW | RTLD_NOLOAD);
    if (!library) return "absent";
    auto* const getInstance = reinterpret_cast<GetCameraAdapter*>(dlsym(library.get(), "GetInstance"));
    CameraAdapter* const instance = getInstance != nullptr ? getInstance() : nullptr;
    if (instance == nullptr) return "unavailable";
    const std::shared_ptr<adapter::PlatformInfoHolder> holder = instance->GetPlatformInfoHolder();
    if (!holder) return "empty";
    uint32_t word = 0;
    holder->GetMotionInfo(&word);
    return std::to_string(word);
} catch (...) {
    return "empty  # it threw when it was asked again";
}

void append(std::string& text, const Request& request) {
    const auto textOf = [](bool flag) { return flag ? "true" : "false"; };
    put(text, "- ", request.asked, "\n  clock: ", request.clockNs, "\n");
    if (!request.adapter.empty()) put(text, "  adapter: ", request.adapter, "\n");
    // By default the gate's answer decides.
    if (request.gate != request.selection.has_value())
        put(text, "  select: ", request.selection ? "always" : "never", "\n");
    if (request.queuesAsked) append(text, request.queues);
    put(text, "  check:\n    of: ", request.checked, request.check, "\n  expect:\n");
    if (request.gate) put(text, "    gate: ", textOf(*request.gate), "\n");
    if (request.selection) put(text, "    selection:", request.selection->empty() ? " {}\n" : "\n");
    if (request.selection)
        for (const auto& [queue, frames] : *request.selection) put(text, "      ", queue, ": ", frames, "\n");
    if (!request.checks.empty()) text += "    checks:\n";
    for (const auto& [frame, flags] : request.checks)
        put(text, "      ", frame, ": [", textOf(flags.first), ", ", textOf(flags.second), "]\n");
    put(text, request.comments, "# end\n");
}

// The selector that the core gets while requests are recorded. It passes every virtual operation on to the real
// selector and notes what was asked and answered. A request is written when it is over: after the gate of the next one
// has answered, or when the selector goes. Once recording has stopped it only passes on.
//
// An extension selector, since a core may know the layout of those. Of the real selector's members it has the name; the
// others are the core's own, or no core's business.
class RecordingSelector final : public ZSLSelectorExt {
public:
    RecordingSelector(std::shared_ptr<Recorder> recorder, std::shared_ptr<ZSLSelectorBase> real)
        : mRecorder(std::move(recorder)), mReal(std::move(real)) {
        mName = (*mReal).*(&RecordingSelector::mName);
    }
    ~RecordingSelector() override {
        mRecorder->attempt([this] { end(); });
    }

    bool isSelectorNeeded(const ZSLFrameSelectInfo& info) override {
        return pass(&ZSLSelectorBase::isSelectorNeeded, info, false, [&](bool needed, const Queues& queues) {
            begin(info);
            mRequest->gate = needed;
            mRequest->adapter = adapterAnswer();
            if (mRequest->adapter[0] <= '9') mMotionWord = mRequest->adapter;
            if (!needed) askRest(queues);  // else when the selection has read them
        });
    }

    zohal::SelectionResult selectZSLFrames(const ZSLFrameSelectInfo& info) override {
        const auto note = [&](const zohal::SelectionResult& selection, const Queues& queues) {
            if (!mRequest || !mRequest->gate || mRequest->selection || mRequest->asked != askedOf(info)) {
                begin(info);
                mRequest->comments = "  # the gate was not asked, but is in a replay\n";
            }
            mRequest->selection = selection;
            askRest(queues);
        };
        return pass(&ZSLSelectorBase::selectZSLFrames, info, false, note);
    }

    zohal::ZSLSelectorResult checkFrame(const ZSLFrameCheckInfo& info) override {
        const auto same = [](const auto& note, const auto& queue) {
            return (note ? note->queue : nullptr) == queue.get();
        };
        const bool belongs = mRequest && mRequest->frame == info.fwkFrameNum &&
                             mRequest->master == static_cast<uint32_t>(info.reqtMasterId) &&
                             std::equal(mRequest->queues.begin(), mRequest->queues.end(), info.zslQueues.begin(),
                                        info.zslQueues.end(), same);
        return pass(&ZSLSelectorBase::checkFrame, info, belongs,
                    [&](zohal::ZSLSelectorResult result, const Queues& queues) {
                        if (!mRequest) return;
                        const std::string check = checkOf(info);
                        if (!belongs || (!mRequest->checked.empty() && mRequest->check != check))
                            return put(mRequest->comments, "  # a check of frame ", info.checkFrameNum,
                                       ", of another request, is left out\n");
                        mRequest->check = check;
                        mRequest->checked.push_back(info.checkFrameNum);
                        const std::pair<bool, bool> flags(result.first, result.second);
                        const auto noted = mRequest->checks.try_emplace(info.checkFrameNum, flags).first;
                        if (noted->second != flags) mRequest->comments += "  # a frame was checked with two results\n";
                        noted->second = flags;
                        mCamera = info.logicalId;
                        if (!mRequest->selection) askRest(queues);
                    });
    }

    // Of these nothing shows in a case.
    int preCheckFrame(FrameList& zslFrames, int flags) override { return mReal->preCheckFrame(zslFrames, flags); }
    zohal::ZSLSelectorResult checkDesiredSensorMode(const ZSLFrameCheckInfo& info) override {
        return mReal->checkDesiredSensorMode(info);
    }

private:
    // `goesOn`: with the queues of the latest request, whose notes are continued. `note` gets the answer and the
    // queues.
    template <typename Result, typename Info, typename Note>
    Result pass(Result (ZSLSelectorBase::*operation)(const Info&), const Info& info, bool goesOn, Note note) {
        std::optional<Info> recorded;
        mRecorder->attempt([&] {
            mNotes = goesOn ? mRequest->queues : Notes();
            recorded = info;
            recorded->zslQueues = recordedQueues(info.zslQueues, mNotes);
            mClockNs = systemTime(SYSTEM_TIME_BOOTTIME);
        });
        if (!mRecorder->on) return (mReal.get()->*operation)(info);
        try {
            Result result = (mReal.get()->*operation)(*recorded);
            mRecorder->attempt([&] { note(result, recorded->zslQueues); });
            return result;
        } catch (...) {
            mRecorder->attempt([this] {
                if (mRequest) mRequest->comments += "  # a later call ended in an exception and is left out\n";
            });
            throw;
        }
    }

    void begin(const ZSLFrameSelectInfo& info) {
        end();
        mRequest.emplace();
        mRequest->frame = info.fwkFrame;
        mRequest->master = info.reqtMasterId;
        mRequest->asked = askedOf(info);
        mRequest->queues = mNotes;
        mRequest->clockNs = mClockNs;
    }

    void askRest(const Queues& queues) {
        askForRest(queues, mNotes);
        mRequest->queues = mNotes;
        mRequest->queuesAsked = true;
        mRequest->clockNs = mClockNs;
    }

    void end() {
        if (!mRequest) return;
        std::string text;
        if (!mFile || mRequestsInFile >= kRequestsPerFile || mFile->size >= kBytesPerFile) {
            mFile = std::make_unique<CaseFile>(*mRecorder);
            mRequestsInFile = 0;
            text = head();
        }
        append(text, *mRequest);
        mFile->append(text);
        ++mRequestsInFile;
        if (mRequest->gate) {
            mState = "- name: the state that former requests left\n  select: never\n  adapter: " + mMotionWord +
                     "\n  " + mRequest->asked + "\n# end\n";
        }
        mRequest.reset();
    }

    std::string head() const {
        const std::string& motionSwitch = mRecorder->motionSwitch;
        std::string text;
        put(text, "recorded: 1\nproperties: {vendor.zohal.selector.motion.zsl.disable: ",
            motionSwitch.empty() ? "null" : quoted(motionSwitch), "}\n");
        if (mCamera) {
            const auto metadata = StaticMetadataWraper::getInstance()->getStaticMetadata(*mCamera);
            put(text, "staticMetadata:\n  ", *mCamera, ": ",
                tagsOf(metadata.get(), {"com.nexaro.camera.sensorpolicy.mask"}), "\n");
        }
        return text + "requests:\n" + mState;
    }

    const std::shared_ptr<Recorder> mRecorder;
    const std::shared_ptr<ZSLSelectorBase> mReal;  // declared behind what keeps its library: released before
    Notes mNotes;                                  // of the call being made
    int64_t mClockNs = 0;                          // just before it
    std::optional<Request> mRequest;               // the latest, not written yet
    std::string mMotionWord = "absent";            // the adapter's latest
    std::string mState;                            // that requests have left, as a request that brings it about
    std::optional<uint32_t> mCamera;               // of the latest check
    std::unique_ptr<CaseFile> mFile;
    uint32_t mRequestsInFile = 0;
};

}  // namespace

void createSelectors(const std::shared_ptr<Recorder>& recorder, Selectors& selectors) {
    Selectors made;
    recorder->create(made);
    for (auto& selector : made) {
        if (!selector) continue;
        recorder->attempt([&] { selector = std::make_shared<RecordingSelector>(recorder, selector); });
        if (recorder->on) continue;
        // The real one. Its handle keeps the library, which is closed after it is gone.
        const auto kept =
            std::make_shared<std::pair<std::shared_ptr<Recorder>, Selectors::value_type>>(recorder, selector);
        selector = Selectors::value_type(kept, kept->second.get());
    }
    selectors.insert(selectors.end(), made.begin(), made.end());
}

}  // namespace recorder
