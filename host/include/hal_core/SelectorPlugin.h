// The piece of the HAL core that loads a selector plug-in and walks requests through its selector.

#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/ZSLSelectorBase.h"

namespace halcore {

// A plug-in that can't be loaded, or lacks what it must have.
class PluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// When the core asks for a selection.
enum class Select { kGated, kAlways, kNever };

// What a selector did with one request.
struct RequestOutcome {
    bool needed = false;    // the gate's answer
    bool selected = false;  // whether selection was asked for
    zohal::SelectionResult selection;
    std::map<uint32_t, zohal::ZSLSelectorResult> checks;  // by frame
};

// Arguments of a strategy that is called directly.
struct StrategyCall {
    std::string strategy;              // one of SelectorPlugin::strategies()
    std::optional<uint32_t> fwkFrame;  // where it differs from the request's
    int64_t zsdTs = 0;
    int32_t lastZslFrame = 0;
    std::vector<uint32_t> selectList;  // in and out
};

class SelectorPlugin {
public:
    // Loads the plug-in and makes one selector. Throws PluginError.
    explicit SelectorPlugin(const std::string& path);

    zohal::ZSLSelectorBase& selector() { return *mSelectors.back(); }

    // Asks the gate; selects where it takes the request, always or never; then, where check info is given (its frame
    // number is filled in), has `checked` frames checked, or every one chosen.
    RequestOutcome serve(const zohal::ZSLFrameSelectInfo& request, Select select,
                         std::optional<zohal::ZSLFrameCheckInfo> checkInfo,
                         const std::optional<std::vector<uint32_t>>& checked = std::nullopt);

    // Calls a strategy that the plug-in exports, on the selector. Throws PluginError when the plug-in lacks it.
    bool callStrategy(StrategyCall& call, const zohal::ZSLFrameSelectInfo& request,
                      std::shared_ptr<zohal::ZSLFrameQueue> metaQueue);

    static const std::vector<std::string>& strategies();

    // Whether the library is in memory. One that stays there after its last owner has gone keeps its state.
    static bool isMapped(const std::string& path);

private:
    void* symbol(const char* name) const;

    struct Unload {
        void operator()(void* library) const;
    };
    std::unique_ptr<void, Unload> mLibrary;
    std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> mSelectors;  // declared last: released before the unload
};

}  // namespace halcore
