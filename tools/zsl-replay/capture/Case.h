// A case: capture requests as a HAL core makes them, the platform around them, and what must come out.

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/Value.h"
#include "hal_core/SelectorPlugin.h"

namespace replay {

using FrameList = std::vector<uint32_t>;

inline const Value::Words kSelectWords = {"gated", "always", "never"};  // by halcore::Select

constexpr char kSwitchProperty[] = "vendor.zohal.selector.motion.zsl.disable";
constexpr int64_t kDefaultIntervalNs = 33'333'333;  // 30 fps
constexpr uint32_t kMostFrames = 1'000'000;         // that one file names; guards against slips of the hand
constexpr size_t kMostRequests = 100'000;           // of one file
constexpr uint32_t kMostNeeded = 100'000;           // of one request

struct FrameData {
    int64_t shutterTimeNs = 0;
    uint32_t sensorMode = 0;
    bool assumed = false;  // the input gives no shutter time
};

struct Queue {
    uint32_t id = 0;
    int32_t type = 0;
    std::string name;
    FrameList consumer;
    FrameList producer;
    FrameList all;
    std::map<uint32_t, FrameData> held;  // the frames that the queue has an entry for
    std::map<uint32_t, FrameData> lost;  // frames it has lost, as they were

    FrameList deliveryOrder() const;
    std::map<uint32_t, FrameData> everHeld() const;
};

using Tags = std::map<std::string, Value>;  // as a case file gives them, and such as can be read

// What must come out of a request; what is absent is not looked at.
struct Expectation {
    std::optional<bool> gate;                                // its answer
    std::optional<std::map<uint32_t, FrameList>> selection;  // by queue
    std::optional<FrameList> list;                           // a strategy's
    std::optional<bool> result;
    std::optional<int64_t> targetNs;
    std::optional<uint32_t> anchor;
    std::optional<std::map<uint32_t, zohal::ZSLSelectorResult>> checks;  // empty: none is made
    std::optional<std::vector<std::string>> log;
    std::vector<std::string> logHas;
};

// How the core has frames checked.
struct Check {
    uint32_t camera = 0;
    int32_t role = 0;
    int32_t aiHlFrames = 0;
    std::optional<FrameList> of;  // in the core's order; absent: the chosen frames, where there is a queue of type 2
    std::optional<std::optional<Tags>> metadata;  // absent: the request's; none in it: no metadata object
};

struct Request {
    std::string name;
    uint32_t fwkFrame = 0;
    FrameList used;
    uint32_t master = 0;
    uint32_t need = 1;
    std::optional<Tags> metadata = Tags();  // absent: no metadata object
    std::string adapter = "absent";  // or what it answers, as the desk's property: "0x300", "empty", "unavailable"
    halcore::Select select = halcore::Select::kGated;
    int64_t clockNs = 0;
    std::vector<Queue> queues;
    std::optional<halcore::StrategyCall> call;
    Check check;
    Expectation expect;
    std::shared_ptr<const Value> written;  // as a case file gives it; null for one rebuilt from a log

    // The queue that frames are selected from, the first of its kind; null when there is none.
    const Queue* metaQueue() const;
};

struct Case {
    std::string file;
    std::map<std::string, std::optional<std::string>> properties = {{kSwitchProperty, "false"}};  // absent: not set
    std::map<uint32_t, Tags> staticMetadata;                                                      // by camera
    std::vector<Request> requests;
    bool recorded = false;  // a recorder wrote it: nothing in it is assumed
    std::string cutOff;     // of a recorded file: what is left out at its end, as a crash has cut it off; else empty
};

}  // namespace replay
