#include "replay/Session.h"

#include <cutils/properties.h>

#include <utility>

#include "capture/Metadata.h"
#include "desk/Clock.h"
#include "desk/OfflineLog.h"
#include "desk/VendorLibraries.h"
#include "hal_core/FrameQueue.h"
#include "metadatautils/StaticMetadataWraper.h"
#include "zodebug/Log.h"

namespace replay {

namespace {

constexpr char kMotionProperty[] = "desk.adapter.motion";
constexpr uint32_t kZslGroup = 0x40;

void openLog(const Recording& recording) {
    zodebug::gZoCamLogLevel = 3;
    zodebug::gZoCamLogGroup = recording.log ? kZslGroup : 0;
    zodebug::gZoCamOfflineLogLevel = 3;
    zodebug::gZoCamOfflineLogGroup = kZslGroup;
    zodebug::gZoCamDebugMask = recording.offlineLog ? 1 : 0;
}

std::string describe(const halcore::QueueCall& call) {
    std::string text = '[' + std::to_string(call.queue.id()) + "] " + call.operation + '(';
    const std::string operation = call.operation;
    if (operation == "getFrame" || operation == "getFrameList") text += std::to_string(call.argument);
    text += ')';
    return call.found ? text : text + " -> none";
}

std::shared_ptr<halcore::FrameQueue> makeQueue(const Queue& queue) {
    auto made = std::make_shared<halcore::FrameQueue>(queue.id, queue.type, queue.name);
    made->setFrameList(zohal::kConsumerList, queue.consumer);
    made->setFrameList(zohal::kProducerList, queue.producer);
    made->setFrameList(zohal::kAllFrames, queue.all);
    for (const auto& [frame, data] : queue.held) {
        zohal::ZSLFrameEntry entry{};
        entry.metaInfo.shutterTime = data.shutterTimeNs;
        entry.perframeSensorMode = data.sensorMode;
        made->addFrame(frame, std::move(entry));
    }
    return made;
}

std::optional<zohal::ZSLFrameCheckInfo> makeCheckInfo(const Request& request,
                                                      const zohal::ZSLFrameSelectInfo& selectInfo) {
    bool isChecked = request.check.of.has_value();
    for (const Queue& queue : request.queues) isChecked |= queue.type == zohal::kFrameInfoQueue;
    if (!isChecked) return std::nullopt;

    zohal::ZSLFrameCheckInfo info{};
    if (request.check.metadata) {
        info.requestMeta = makeMetadata(*request.check.metadata);
    } else if (!selectInfo.requestMetas.empty()) {
        info.requestMeta = selectInfo.requestMetas.front();
    }
    info.fwkFrameNum = request.fwkFrame;
    info.logicalId = request.check.camera;
    info.reqtMasterId = static_cast<int32_t>(request.master);
    info.masterRoleId = request.check.role;
    info.zslQueues = selectInfo.zslQueues;
    info.AiHLFrameNum = request.check.aiHlFrames;
    return info;
}

}  // namespace

const FrameList& Run::chosen() const {
    return outcome.selection.empty() ? selectList : outcome.selection.begin()->second;
}

Session::Session(Case platform, std::string plugin, std::string vendorDir)
    : mVendorDir(std::move(vendorDir)), mBuild(std::move(plugin)), mPlatform(std::move(platform)) {
    for (const auto& [key, value] : mPlatform.properties) property_set(key.c_str(), value ? value->c_str() : nullptr);
    for (const auto& [camera, tags] : mPlatform.staticMetadata) {
        StaticMetadataWraper::getInstance()->setStaticMetadata(camera, makeMetadata(tags));
    }
    openLog({});
    mPlugin = std::make_unique<halcore::SelectorPlugin>(mBuild);
    desk::setLogSink([this](const desk::LogLine& line) {
        if (mRecording.trace) mRun.trace.push_back({TraceStep::kLog, line.message});
        mRun.log.push_back(line);
    });
}

Session::~Session() {
    mPlugin.reset();
    desk::setLogSink(nullptr);
    desk::setBoottime(std::nullopt);
    for (const auto& [key, value] : mPlatform.properties) property_set(key.c_str(), nullptr);
    for (const auto& [camera, tags] : mPlatform.staticMetadata) {
        StaticMetadataWraper::getInstance()->setStaticMetadata(camera, nullptr);
    }
}

Capture Session::prepare(const Request& request) {
    Capture capture{&request, {}, nullptr, std::nullopt};
    zohal::ZSLFrameSelectInfo& info = capture.info;
    info.fwkFrame = request.fwkFrame;
    info.usedZslFrames = request.used;
    info.reqtMasterId = request.master;
    for (const Queue& queue : request.queues) {
        const auto made = makeQueue(queue);
        made->setObserver([this](const halcore::QueueCall& call) {
            if (mRecording.trace) mRun.trace.push_back({TraceStep::kCall, describe(call)});
        });
        info.zslQueues.push_back(made);
        if (&queue == request.metaQueue()) capture.metaQueue = made;
    }
    // Only the first element is ever read; the others stand for the other frames needed.
    if (request.need > 0) info.requestMetas.push_back(makeMetadata(request.metadata));
    info.requestMetas.resize(request.need, std::make_shared<ZoMetadata>());
    capture.check = makeCheckInfo(request, info);
    return capture;
}

Run Session::serve(const Capture& capture, Recording recording) {
    const Request& request = *capture.request;
    mRecording = recording;
    mRun = {};
    openLog(recording);
    desk::setBoottime(request.clockNs);
    desk::setVendorLibraryDir(request.adapter == "absent" ? "" : mVendorDir);
    property_set(kMotionProperty, request.adapter == "absent" ? nullptr : request.adapter.c_str());
    if (request.call) {
        halcore::StrategyCall call = *request.call;
        mRun.result = mPlugin->callStrategy(call, capture.info, capture.metaQueue);
        mRun.selectList = call.selectList;
    } else {
        mRun.outcome = mPlugin->serve(capture.info, request.select, capture.check, request.check.of);
    }
    if (recording.offlineLog) mRun.offlineLog = desk::takeOfflineLog();
    return std::move(mRun);
}

}  // namespace replay
