// The tool's catalogue of messages against the library's sources: each format string to the letter, at its level.

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

struct Row {
    const char* function;
    const char* text;
    bool cut;
    bool known;
    std::vector<int64_t> numbers;
    std::string name;
    replay::FrameList frames;
};

TEST(Catalogue, ReadsCutAndDamagedLinesAsFarAsTheyGo) {
    const Row rows[] = {
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9", false, true, {7, -5, 9}, "", {}},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:x curTime:9", false, false, {}, "", {}},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9 more", false, false, {}, "", {}},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:99999999999999999999 curTime:9", false, false, {}, "", {}},
        {"isSelectorNeeded", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9", false, false, {}, "", {}},
        {"selectZSLFramesForSNSCBinning2",
         "[ZSLSelector] fwkFrame:7 ZSLAnchor offset:18446744073709551615 csbegin:2 consumerQ[1 ]",
         false,
         true,
         {7, -1, 2},
         "",
         {1}},
        {"selectZSLFrames",
         "[ZSLSelector] fwkFrame:7 [a] b] Current Consumer list: 1 2",
         false,
         true,
         {7},
         "a] b",
         {1, 2}},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] Current Consumer list: 1 x", false, false, {}, "", {}},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] Current Consumer list: 1 2 13", true, true, {7}, "a", {1, 2}},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] Current Consu", true, false, {}, "", {}},
        {"selectZSLFramesForSNSCBinning1", "[ZSLSelector] consumer: finalList:", false, true, {}, "", {}},
    };
    for (const Row& row : rows) {
        const auto line = replay::matchLine(row.function, row.text, row.cut);
        ASSERT_EQ(line.has_value(), row.known) << row.text;
        if (!line) continue;
        EXPECT_EQ(line->numbers, row.numbers) << row.text;
        EXPECT_EQ(line->name, row.name) << row.text;
        EXPECT_EQ(line->frames, row.frames) << row.text;
    }
}

}  // namespace
