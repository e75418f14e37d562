#include "replay/Session.h"

#include <cutils/properties.h>
#include <fmt/format.h>

#include <utility>

#include "account/LogLine.h"
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

std::string stepOf(const halcore::QueueCall& call) {
    const std::string_view operation = call.operation;
    const bool hasArgument = operation == "getFrame" || operation == "getFrameList";
    return fmt::format("call [{}] {}({}){}", call.queue.id(), operation,
                       hasArgument ? std::to_string(call.argument) : "", call.found ? "" : " -> none");
}

// Builds differ in source lines.
std::string stepOf(const desk::LogLine& line) {
    const auto message = splitMessage(line.message);
    if (!message) return fmt::format("log \"{}\"", line.message);
    return fmt::format("log \"{}: {}\"", message->function, withoutAddress(message->text));
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

// Without queues.
zohal::ZSLFrameSelectInfo makeSelectInfo(const Request& request) {
    zohal::ZSLFrameSelectInfo info{request.fwkFrame, request.used, request.master, {}, {}};
    // Only the first element is ever read; the others stand for the other frames needed.
    if (request.need > 0) info.requestMetas.push_back(makeMetadata(request.metadata));
    info.requestMetas.resize(request.need, std::make_shared<ZoMetadata>());
    return info;
}

std::optional<zohal::ZSLFrameCheckInfo> makeCheckInfo(
    const Request& request, const std::vector<std::shared_ptr<zohal::ZSLFrameQueue>>& queues) {
    bool isChecked = request.check.of.has_value();
    for (const Queue& queue : request.queues) isChecked |= queue.type == zohal::kFrameInfoQueue;
    if (!isChecked) return std::nullopt;

    zohal::ZSLFrameCheckInfo info{};
    info.requestMeta = makeMetadata(request.check.metadata.value_or(request.metadata));
    info.fwkFrameNum = request.fwkFrame;
    info.logicalId = request.check.camera;
    info.reqtMasterId = static_cast<int32_t>(request.master);
    info.masterRoleId = request.check.role;
    info.zslQueues = queues;
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
    zodebug::gZoCamLogLevel = 3;
    zodebug::gZoCamOfflineLogLevel = 3;
    zodebug::gZoCamOfflineLogGroup = kZslGroup;
    zodebug::gZoCamDebugMask = 1;
    mPlugin = std::make_unique<halcore::SelectorPlugin>(mBuild);
    desk::setLogSink([this](const desk::LogLine& line) {
        mRun.trace.push_back(stepOf(line));
        mRun.log.push_back(line);
    });
}

Session::~Session() {
    mPlugin.reset();
    desk::setLogSink(nullptr);
    for (const auto& [key, value] : mPlatform.properties) property_set(key.c_str(), nullptr);
    for (const auto& [camera, tags] : mPlatform.staticMetadata) {
        StaticMetadataWraper::getInstance()->setStaticMetadata(camera, nullptr);
    }
}

Run Session::serve(const Request& request, Recording recording) {
    mRun = {};
    zodebug::gZoCamLogGroup = recording == Recording::kAll ? kZslGroup : 0;
    desk::setBoottime(request.clockNs);
    desk::setVendorLibraryDir(request.adapter == "absent" ? "" : mVendorDir);
    property_set(kMotionProperty, request.adapter == "absent" ? nullptr : request.adapter.c_str());

    zohal::ZSLFrameSelectInfo info = makeSelectInfo(request);
    std::shared_ptr<zohal::ZSLFrameQueue> metaQueue;
    for (const Queue& queue : request.queues) {
        const auto made = makeQueue(queue);
        if (recording == Recording::kAll) {
            made->setObserver([this](const halcore::QueueCall& call) { mRun.trace.push_back(stepOf(call)); });
        }
        info.zslQueues.push_back(made);
        if (&queue == request.metaQueue()) metaQueue = made;
    }
    if (request.call) {
        halcore::StrategyCall call = *request.call;
        mRun.result = mPlugin->callStrategy(call, info, metaQueue);
        mRun.selectList = call.selectList;
    } else {
        mRun.outcome = mPlugin->serve(info, request.select, makeCheckInfo(request, info.zslQueues), request.check.of);
    }
    mRun.offlineLog = desk::takeOfflineLog();
    return std::move(mRun);
}

}  // namespace replay
