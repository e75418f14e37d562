// Every call into the library, in every session of the fuzzer's corpus, with every allocation failing and every
// operation of the core throwing, one after the other. The hostile core checks that the exception passes, that nothing
// leaks and that a failed call leaves everything usable; the calls' answers are those of a core without faults.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <new>
#include <sstream>
#include <string>

#include "fuzz/HostileCore.h"

// Not inlined, or the compiler takes malloc() and delete for a mismatch.
__attribute__((noinline)) void* operator new(size_t size) {
    if (hostile::gAllocationsToFault != 0 && --hostile::gAllocationsToFault == 0) {
        ++hostile::gFaultsStruck;
        hostile::gStruckOutside |= hostile::isOutside();
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    ++hostile::gLiveAllocations;
    return memory;
}

__attribute__((noinline)) void operator delete(void* memory) noexcept {
    if (memory != nullptr) --hostile::gLiveAllocations;
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept { operator delete(memory); }

namespace {

using Sessions = std::map<std::string, std::string>;

Sessions corpus() {
    Sessions sessions;
    for (const auto& file : std::filesystem::directory_iterator(ZSL_CORPUS "/contract")) {
        std::ifstream in(file.path(), std::ios::binary);
        sessions[file.path().filename()] = {std::istreambuf_iterator<char>(in), {}};
    }
    return sessions;
}

uint64_t play(const std::string& session, hostile::Fault fault, bool recorded = false) {
    return hostile::play(reinterpret_cast<const uint8_t*>(session.data()), session.size(), fault, recorded);
}

// Made on x86-64. After a change that means to answer or to log otherwise, what is found is the new file; it is written
// beside the build of this test.
TEST(Corpus, IsAnsweredAsOnEveryOtherMachine) {
    std::ifstream file(ZSL_CORPUS "/contract.digests");
    const std::string expected{std::istreambuf_iterator<char>(file), {}};
    std::ostringstream found;
    for (const auto& [name, session] : corpus()) {
        found << name << ' ' << std::hex << play(session, hostile::Fault::kNone) << '\n';
    }
    std::ofstream("contract.digests") << found.str();
    EXPECT_NE(found.str(), "");
    EXPECT_EQ(found.str(), expected);
}

void expectNothingToChangeFor(hostile::Fault fault, bool recorded = false) {
    const Sessions sessions = corpus();
    const uint64_t struckBefore = hostile::gFaultsStruck;
    for (const auto& [name, session] : sessions) {
        EXPECT_EQ(play(session, fault, recorded), play(session, hostile::Fault::kNone)) << name;
    }
    const size_t least = fault == hostile::Fault::kWrite ? 1 : 10;  // a request is one write
    EXPECT_GT(hostile::gFaultsStruck - struckBefore, least * sessions.size());
}

TEST(Faults, OfAnyAllocationChangeNothing) { expectNothingToChangeFor(hostile::Fault::kAllocation); }

TEST(Faults, OfAnyCallIntoTheCoreChangeNothing) { expectNothingToChangeFor(hostile::Fault::kCoreCall); }

TEST(Recorder, ChangesNothingWhateverFails) {
    expectNothingToChangeFor(hostile::Fault::kAllocation, true);
    expectNothingToChangeFor(hostile::Fault::kCoreCall, true);
    expectNothingToChangeFor(hostile::Fault::kWrite, true);
}

}  // namespace
