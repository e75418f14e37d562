// The tool's catalogue of messages against the library's sources: each format string to the letter, at its level.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "account/Catalogue.h"

namespace {

using Messages = std::multiset<std::string>;

// The messages that a source file logs: what follows a log macro, up to its format string, whose literals may be
// several. No message holds a quotation mark.
void scan(const std::string& source, Messages& found) {
    for (size_t at = source.find("ZSL_LOG"); at != std::string::npos; at = source.find("ZSL_LOG", at + 1)) {
        size_t quote = source.find('"', at);
        const std::string macro = source.substr(at, quote - at);
        const bool isDebug = macro.find("LOGD") != std::string::npos || macro.find("kDebug") != std::string::npos;
        std::string format = isDebug ? "D " : "I ";
        while (source[quote] == '"') {
            const size_t end = source.find('"', quote + 1);
            format.append(source, quote + 1, end - quote - 1);
            quote = source.find_first_not_of(" \n", end + 1);
        }
        found.insert(format);
    }
}

// The base check is left out: it logs for other selectors, and none of its lines is in a motion selector's log.
TEST(Catalogue, HoldsTheLibrarysMessagesAndNoOther) {
    Messages inSources;
    for (const auto& file : std::filesystem::recursive_directory_iterator(SOURCES)) {
        if (!file.is_regular_file()) continue;
        std::ifstream in(file.path());
        scan({std::istreambuf_iterator<char>(in), {}}, inSources);
    }
    Messages inCatalogue;
    for (const replay::CatalogueEntry& entry : replay::catalogue()) {
        inCatalogue.insert(std::string(1, entry.level) + ' ' + entry.format);
    }
    EXPECT_EQ(inSources, inCatalogue);
    EXPECT_GT(inSources.size(), 30U);
}

// What a line says: its numbers, the name and the frames, as in "7 -5 [name] 1 2".
std::string said(const char* function, const char* text, bool isCut = false) {
    replay::LoggedLine line;
    line.function = function;
    line.text = text;
    line.isCut = isCut;
    replay::readMessage(line);
    if (line.entry == nullptr) return "no such message";
    return fmt::format("{} [{}] {}", fmt::join(line.numbers, " "), line.name, fmt::join(line.frames, " "));
}

TEST(Catalogue, ReadsCutAndDamagedLinesAsFarAsTheyGo) {
    const char* const driver = "selectZSLFrames";
    const std::string none = "no such message";
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9"), "7 -5 9 [] ");
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 zsdTs:x curTime:9"), none);
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9 more"), none);
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 zsdTs:99999999999999999999 curTime:9"), none);
    EXPECT_EQ(said("isSelectorNeeded", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9"), none);
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 [a] b] Current Consumer list: 1 2"), "7 [a] b] 1 2");
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 [a] Current Consumer list: 1 x"), none);
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 [a] Current Consumer list: 1 2 13", true), "7 [a] 1 2");
    EXPECT_EQ(said(driver, "[ZSLSelector] fwkFrame:7 [a] Current Consu", true), none);
    EXPECT_EQ(said("selectZSLFramesForSNSCBinning1", "[ZSLSelector] consumer: finalList:"), " [] ");
    EXPECT_EQ(said("selectZSLFramesForSNSCBinning2",
                   "[ZSLSelector] fwkFrame:7 ZSLAnchor offset:18446744073709551615 csbegin:2 consumerQ[1 ]"),
              "7 -1 2 [] 1");
}

}  // namespace
