#include "replay/Session.h"

#include <cutils/properties.h>

#include <optional>
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

void openLog(bool offline) {
    zodebug::gZoCamLogLevel = 3;
    zodebug::gZoCamLogGroup = kZslGroup;
    zodebug::gZoCamOfflineLogLevel = 3;
    zodebug::gZoCamOfflineLogGroup = kZslGroup;
    zodebug::gZoCamDebugMask = offline ? 1 : 0;
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
    bool hasFrameInfo = false;
    for (const Queue& queue : request.queues) hasFrameInfo |= queue.type == zohal::kFrameInfoQueue;
    if (!hasFrameInfo) return std::nullopt;

    zohal::ZSLFrameCheckInfo info{};
    info.requestMeta = selectInfo.requestMetas.empty() ? nullptr : selectInfo.requestMetas.front();
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

Session::Session(const Case& platform, const SessionOptions& options) : mOptions(options) {
    mPlatform.properties = platform.properties;
    mPlatform.staticMetadata = platform.staticMetadata;
    for (const auto& [key, value] : platform.properties) property_set(key.c_str(), value ? value->c_str() : nullptr);
    for (const auto& [camera, tags] : platform.staticMetadata) {
        StaticMetadataWraper::getInstance()->setStaticMetadata(camera, makeMetadata(tags));
    }
    openLog(options.offlineLog);
    mPlugin = std::make_unique<halcore::SelectorPlugin>(options.plugin);
}

Session::~Session() {
    mPlugin.reset();
    desk::setBoottime(std::nullopt);
    for (const auto& [key, value] : mPlatform.properties) property_set(key.c_str(), nullptr);
    for (const auto& [camera, tags] : mPlatform.staticMetadata) {
        StaticMetadataWraper::getInstance()->setStaticMetadata(camera, nullptr);
    }
}

zohal::ZSLFrameSelectInfo Session::makeSelectInfo(const Request& request, Run& run) const {
    zohal::ZSLFrameSelectInfo info{};
    info.fwkFrame = request.fwkFrame;
    info.usedZslFrames = request.used;
    info.reqtMasterId = request.master;
    for (const Queue& queue : request.queues) {
        const auto made = makeQueue(queue);
        if (mOptions.trace) {
            made->setObserver([&run](const halcore::QueueCall& call) {
                run.trace.push_back({TraceStep::kCall, describe(call)});
            });
        }
        info.zslQueues.push_back(made);
    }
    // Only the first element is ever read; the others stand for the other frames needed.
    if (request.need > 0) info.requestMetas.push_back(makeMetadata(request.metadata));
    while (info.requestMetas.size() < request.need) info.requestMetas.push_back(std::make_shared<ZoMetadata>());
    return info;
}

Run Session::serve(const Request& request) {
    Run run;
    desk::setLogSink([&run, this](const desk::LogLine& line) {
        if (mOptions.trace) run.trace.push_back({TraceStep::kLog, line.message});
        run.log.push_back(line);
    });
    desk::setBoottime(request.clockNs);
    desk::setVendorLibraryDir(request.adapter == "absent" ? "" : mOptions.vendorDir);
    property_set(kMotionProperty, request.adapter == "absent" ? nullptr : request.adapter.c_str());

    const zohal::ZSLFrameSelectInfo info = makeSelectInfo(request, run);
    if (request.call) {
        const Queue* meta = request.metaQueue();
        const auto metaQueue = meta != nullptr ? info.zslQueues[meta - request.queues.data()] : nullptr;
        halcore::StrategyCall call = *request.call;
        run.result = mPlugin->callStrategy(call, info, metaQueue);
        run.selectList = call.selectList;
    } else {
        run.outcome = mPlugin->serve(info, request.select, makeCheckInfo(request, info), request.check.of);
    }
    desk::setLogSink(nullptr);
    run.offlineLog = desk::takeOfflineLog();
    return run;
}

std::vector<Run> runCase(const Case& theCase, const SessionOptions& options) {
    Session session(theCase, options);
    std::vector<Run> runs;
    for (const Request& request : theCase.requests) runs.push_back(session.serve(request));
    return runs;
}

}  // namespace replay
