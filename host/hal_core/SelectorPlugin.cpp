#include "hal_core/SelectorPlugin.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace halcore {

namespace {

// Member functions as the platform's C++ ABI calls them: the object is the first argument.
using Strategy = bool(zohal::ZSLSelectorBase*, uint32_t, const zohal::ZSLFrameSelectInfo&,
                      std::shared_ptr<zohal::ZSLFrameQueue>, std::vector<uint32_t>&, long, int);
using StrategyByReference = bool(zohal::ZSLSelectorBase*, uint32_t, const zohal::ZSLFrameSelectInfo&,
                                 std::shared_ptr<zohal::ZSLFrameQueue>&, std::vector<uint32_t>&, long, int);

constexpr char kByReference[] = "selectZSLFramesForZeroShutterDelay";

// The mangled name of MotionZSLSelector's member (of a build with libstdc++).
std::string mangled(const std::string& strategy) {
    const char* const reference = strategy == kByReference ? "R" : "";
    return "_ZN17MotionZSLSelector" + std::to_string(strategy.size()) + strategy + "EjRKN5zohal18ZSLFrameSelectInfoE" +
           reference + "St10shared_ptrINS0_13ZSLFrameQueueEERSt6vectorIjSaIjEEli";
}

// Whether the file ends before what it says it holds: the loader would map what is not there, and die of it.
bool isCutOff(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    ElfW(Ehdr) head{};
    file.seekg(0);
    file.read(reinterpret_cast<char*>(&head), sizeof(head));
    // Of what is no library of this kind of process the loader says what is wrong.
    constexpr unsigned char kClass = sizeof(ElfW(Addr)) == 8 ? ELFCLASS64 : ELFCLASS32;
    if (!file || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0 || head.e_ident[EI_CLASS] != kClass) return false;
    file.seekg(static_cast<std::streamoff>(head.e_phoff));
    for (int i = 0; i < head.e_phnum; ++i) {
        ElfW(Phdr) part{};
        if (!file.read(reinterpret_cast<char*>(&part), sizeof(part))) return true;
        if (part.p_offset + part.p_filesz > static_cast<uint64_t>(size)) return true;
    }
    return false;
}

}  // namespace

void SelectorPlugin::Unload::operator()(void* library) const { dlclose(library); }

SelectorPlugin::SelectorPlugin(const std::string& path) {
    if (isCutOff(path)) throw PluginError("cannot load the plug-in: " + path + ": the file is cut off");
    mLibrary.reset(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!mLibrary) throw PluginError(std::string("cannot load the plug-in: ") + dlerror());
    using CreateZSLSelector = void(std::vector<std::shared_ptr<zohal::ZSLSelectorBase>>&);
    reinterpret_cast<CreateZSLSelector*>(symbol("createZSLSelector"))(mSelectors);
    if (mSelectors.empty() || !mSelectors.back()) throw PluginError("the plug-in made no selector: " + path);
}

void* SelectorPlugin::symbol(const char* name) const {
    void* const address = dlsym(mLibrary.get(), name);
    if (address == nullptr) throw PluginError(std::string("the plug-in lacks its entry: ") + dlerror());
    return address;
}

RequestOutcome SelectorPlugin::serve(const zohal::ZSLFrameSelectInfo& request, Select select,
                                     std::optional<zohal::ZSLFrameCheckInfo> checkInfo,
                                     const std::optional<std::vector<uint32_t>>& checked) {
    RequestOutcome outcome;
    outcome.needed = selector().isSelectorNeeded(request);
    outcome.selected = select == Select::kAlways || (select == Select::kGated && outcome.needed);
    if (outcome.selected) outcome.selection = selector().selectZSLFrames(request);
    if (!checkInfo || (!checked && outcome.selection.empty())) return outcome;
    for (const uint32_t zslFrame : checked ? *checked : outcome.selection.begin()->second) {
        checkInfo->checkFrameNum = zslFrame;
        outcome.checks[zslFrame] = selector().checkFrame(*checkInfo);
    }
    return outcome;
}

bool SelectorPlugin::callStrategy(StrategyCall& call, const zohal::ZSLFrameSelectInfo& request,
                                  std::shared_ptr<zohal::ZSLFrameQueue> metaQueue) {
    void* const address = symbol(mangled(call.strategy).c_str());
    const uint32_t fwkFrame = call.fwkFrame.value_or(request.fwkFrame);
    if (call.strategy == kByReference) {
        return reinterpret_cast<StrategyByReference*>(address)(&selector(), fwkFrame, request, metaQueue,
                                                               call.selectList, call.zsdTs, call.lastZslFrame);
    }
    return reinterpret_cast<Strategy*>(address)(&selector(), fwkFrame, request, metaQueue, call.selectList, call.zsdTs,
                                                call.lastZslFrame);
}

bool SelectorPlugin::isMapped(const std::string& path) {
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) dlclose(library);
    return library != nullptr;
}

const std::vector<std::string>& SelectorPlugin::strategies() {
    static const std::vector<std::string> names = {
        "selectZSLFramesForZeroShutterDelay", "selectZSLFramesForNormal",       "selectFramesForLbmfAndHdr",
        "selectFramesForBinningAndHdr",       "selectZSLFramesForSNSCBinning1", "selectZSLFramesForSNSCBinning2"};
    return names;
}

}  // namespace halcore
