#include <dlfcn.h>
#include <utils/Timers.h>

#include "adapter/CameraAdapter.h"
#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"
#include "metadatautils/StaticMetadataWraper.h"
#include "recorder/RecordedQueue.h"

namespace recorder {

namespace {

using zohal::ZSLFrameCheckInfo;
using zohal::ZSLFrameSelectInfo;
using zohal::ZSLSelectorResult;

// The latest request of a selector.
struct Request {
    uint32_t frame;
    uint32_t master;
    std::string asked;  // these two, and what else gate and selection are handed
    int64_t clockNs;
    Notes queues;         // in the core's order
    std::string adapter;  // empty when the gate was not asked
    bool gate;
    std::optional<std::string> selection{};
    std::string check{};  // what its checks are handed
    FrameList checked{};
    std::map<uint32_t, std::string> checks{};  // results by frame
    bool isExact = true;                       // every question had one answer, and nothing is left out
};

const char* textOf(bool flag) { return flag ? "true" : "false"; }

std::string askedOf(const ZSLFrameSelectInfo& info) {
    const ZoMetadata* const metadata = info.requestMetas.empty() ? nullptr : info.requestMetas.front().get();
    return "frame: " + to_string(info.fwkFrame) + "\n  used: " + to_string(info.usedZslFrames) +
           "\n  master: " + to_string(info.reqtMasterId) + "\n  need: " + to_string(info.requestMetas.size()) +
           "\n  metadata: " +
           tagsOf(metadata, {"android.control.enableZsl", "nexaro.ai.zosd.motionCaptureEnabledIcon",
                             "nexaro.hdr.enabled", "nexaro.hdr.sr.enabled", "nexaro.mfnr.anchorTimeStamp",
                             "nexaro.ai.zosd.motionCaptureType", "nexaro.camera.zoseamlesspolicy.result"});
}

std::string askedOf(const ZSLFrameCheckInfo& info) {
    return "\n    camera: " + to_string(info.logicalId) + "\n    role: " + to_string(info.masterRoleId) +
           "\n    frames: " + to_string(info.AiHLFrameNum) + "\n    metadata: " +
           tagsOf(info.requestMeta.get(),
                  {"com.nexaro.camera.sensorpolicy.mcxFrameresult", "com.nexaro.ext.control.policy.sensorMode"});
}

// What the platform adapter says, in the words of a case: its word, "empty" without a holder, "unavailable" without an
// adapter, "absent" where its library isn't open. Never opens that, and never calls Init().
std::string adapterAnswer() {
    const Library library(dlopen("/vendor/lib64/libzocamera_adapter.so", RTLD_NOW | RTLD_NOLOAD), &dlclose);
    if (!library) return "absent";
    auto* const getInstance = reinterpret_cast<GetCameraAdapter*>(dlsym(library.get(), "GetInstance"));
    CameraAdapter* const instance = getInstance != nullptr ? getInstance() : nullptr;
    if (instance == nullptr) return "unavailable";
    const std::shared_ptr<adapter::PlatformInfoHolder> holder = instance->GetPlatformInfoHolder();
    if (!holder) return "empty";
    uint32_t word = 0;
    holder->GetMotionInfo(&word);
    return std::to_string(word);
}

std::string textOf(const Request& request) {
    std::string text = "- " + request.asked + "\n  clock: " + to_string(request.clockNs) + "\n";
    if (!request.adapter.empty()) text += "  adapter: " + request.adapter + "\n";
    // By default the gate's answer decides.
    if (request.gate != request.selection.has_value())
        text += request.selection ? "  select: always\n" : "  select: never\n";
    bool isExact = request.isExact;
    text += "  queues: [\n";
    for (const auto& queue : request.queues) {
        if (queue && !queue->identity.empty()) text += textOf(*queue);
        isExact &= queue && queue->isSure;
    }
    text += "    ]\n  check:\n    of: " + to_string(request.checked) + request.check + "\n  expect:\n";
    if (!request.adapter.empty()) text += std::string("    gate: ") + textOf(request.gate) + "\n";
    if (request.selection) text += "    selection: {" + *request.selection + "}\n";
    text += "    checks: {";
    for (const auto& [frame, result] : request.checks) text += to_string(frame) + ": " + result + ", ";
    text += "}\n";
    if (!isExact) text += "  # it may not replay exactly: one question had two answers, or something is left out\n";
    return text + "# end\n";
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
        return pass(&ZSLSelectorBase::isSelectorNeeded, info, false, [&](bool needed) {
            begin(info, adapterAnswer(), needed);
            if (mRequest->adapter[0] <= '9') mMotionWord = mRequest->adapter;
            if (!needed) askForRest(mNotes);  // else when the selection has read them
        });
    }

    zohal::SelectionResult selectZSLFrames(const ZSLFrameSelectInfo& info) override {
        const bool goesOn = mRequest && mRequest->frame == info.fwkFrame && !mRequest->selection;
        return pass(&ZSLSelectorBase::selectZSLFrames, info, goesOn, [&](const zohal::SelectionResult& selection) {
            if (!goesOn) begin(info);
            mRequest->isExact &= !mRequest->adapter.empty() && mRequest->asked == askedOf(info);
            mRequest->clockNs = mClockNs;
            mRequest->queues = mNotes;
            std::string& text = mRequest->selection.emplace();
            for (const auto& [queue, frames] : selection) text += to_string(queue) + ": " + to_string(frames) + ", ";
            askForRest(mNotes);
        });
    }

    ZSLSelectorResult checkFrame(const ZSLFrameCheckInfo& info) override {
        return pass(&ZSLSelectorBase::checkFrame, info, mRequest.has_value(), [&](ZSLSelectorResult result) {
            if (!mRequest) return;
            const std::string check = askedOf(info);
            if (mRequest->checked.empty()) mRequest->check = check;
            const bool belongs = mRequest->frame == info.fwkFrameNum && mRequest->queues == mNotes &&
                                 mRequest->master == static_cast<uint32_t>(info.reqtMasterId) &&
                                 mRequest->check == check;
            mRequest->isExact &= belongs;
            if (!belongs) return;
            const std::string flags = std::string("[") + textOf(result.first) + ", " + textOf(result.second) + "]";
            mRequest->checked.push_back(info.checkFrameNum);
            mRequest->isExact &= mRequest->checks.try_emplace(info.checkFrameNum, flags).first->second == flags;
            mCamera = info.logicalId;
            if (!mRequest->selection) askForRest(mNotes);
        });
    }

    // Of these nothing shows in a case.
    int preCheckFrame(FrameList& zslFrames, int flags) override { return mReal->preCheckFrame(zslFrames, flags); }
    ZSLSelectorResult checkDesiredSensorMode(const ZSLFrameCheckInfo& info) override {
        return mReal->checkDesiredSensorMode(info);
    }

private:
    // `goesOn`: with the latest request, whose notes are continued. `note` gets the answer.
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
        // A call that ends in an exception is left out.
        const bool wasExact = mRequest && std::exchange(mRequest->isExact, false);
        Result result = (mReal.get()->*operation)(*recorded);
        if (mRequest) mRequest->isExact = wasExact;
        mRecorder->attempt([&] { note(result); });
        return result;
    }

    void begin(const ZSLFrameSelectInfo& info, const std::string& adapter = "", bool gate = false) {
        end();
        mRequest = Request{info.fwkFrame, info.reqtMasterId, askedOf(info), mClockNs, mNotes, adapter, gate};
    }

    void end() {
        if (!mRequest) return;
        std::string text = textOf(*mRequest);
        if (!mFile || mFile->isFull()) {
            const auto metadata = StaticMetadataWraper::getInstance()->getStaticMetadata(mCamera);
            text = "recorded: 1\nproperties: {" + mRecorder->properties + "}\nstaticMetadata:\n  " +
                   to_string(mCamera) + ": " + tagsOf(metadata.get(), {"com.nexaro.camera.sensorpolicy.mask"}) +
                   "\nrequests:\n" + mState + text;
            mFile = std::make_unique<CaseFile>(*mRecorder);
        }
        mFile->append(text);
        if (!mRequest->adapter.empty())
            mState = "- name: the state that former requests left\n  select: never\n  adapter: " + mMotionWord +
                     "\n  " + mRequest->asked + "\n# end\n";
        mRequest.reset();
    }

    const std::shared_ptr<Recorder> mRecorder;
    const std::shared_ptr<ZSLSelectorBase> mReal;
    Notes mNotes;                        // of the call being made
    int64_t mClockNs = 0;                // just before it
    std::optional<Request> mRequest;     // the latest, not written yet
    std::string mMotionWord = "absent";  // the adapter's latest
    std::string mState;                  // that requests have left, as a request that brings it about
    uint32_t mCamera = 0;                // of the latest check
    std::unique_ptr<CaseFile> mFile;
};

}  // namespace

void createSelectors(const std::shared_ptr<Recorder>& recorder, Selectors& selectors) {
    Selectors made;
    recorder->create(made);
    for (auto& selector : made) {
        if (!selector) continue;
        // The real one. Its handle keeps the library, which is closed after it is gone.
        selector = {selector.get(), [recorder, selector](void*) mutable { selector.reset(); }};
        recorder->attempt([&] { selector = std::make_shared<RecordingSelector>(recorder, selector); });
    }
    selectors.insert(selectors.end(), made.begin(), made.end());
}

}  // namespace recorder
