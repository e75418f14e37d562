// The tool's catalogue of messages against the library's sources: each format string to the letter, at its level.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "account/Catalogue.h"

namespace {

using Messages = std::multiset<std::string>;

// The messages that a source file logs: what follows a log macro, up to its format string, whose literals may be
// several.
void scan(const std::string& source, Messages& found) {
    static const std::regex call(
        R"re(ZSL_LOG([DI])?\(\s*(?:zolog::k(Debug|Info),\s*caller,\s*)?((?:"(?:[^"\\]|\\.)*"\s*)+))re");
    for (std::sregex_iterator at(source.begin(), source.end(), call), end; at != end; ++at) {
        std::string format = (*at)[3];
        format = std::regex_replace(format, std::regex("\"\\s*\""), "");
        format = format.substr(1, format.rfind('"') - 1);
        const bool isDebug = (*at)[1] == "D" || (*at)[2] == "Debug";
        found.insert((isDebug ? "D " : "I ") + format);
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
    size_t fields;  // that are read; 0: no such message
    int64_t last;   // number of the last
};

TEST(Catalogue, ReadsCutAndDamagedLinesAsFarAsTheyGo) {
    const Row rows[] = {
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9", false, 3, 9},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9", true, 2, -5},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:x curTime:9", false, 0, 0},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9 more", false, 0, 0},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:99999999999999999999 curTime:9", false, 0, 0},
        {"isSelectorNeeded", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9", false, 0, 0},
        {"selectZSLFramesForSNSCBinning2",
         "[ZSLSelector] fwkFrame:7 ZSLAnchor offset:18446744073709551615 csbegin:2 consumerQ[1 ]", false, 4, 0},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] b] Current Consumer list: 1 2", false, 3, 0},
        {"selectZSLFramesForSNSCBinning1", "[ZSLSelector] consumer: finalList:", false, 1, 0},
    };
    for (const Row& row : rows) {
        const auto line = replay::matchLine(row.function, row.text, row.cut);
        EXPECT_EQ(line ? line->fieldCount : 0, row.fields) << row.text;
        EXPECT_EQ(line ? line->fields[line->fieldCount - 1].number : 0, row.last) << row.text;
    }
    EXPECT_EQ(replay::matchLine(rows[6].function, rows[6].text, false)->fields[1].number, -1);
    EXPECT_EQ(replay::matchLine(rows[7].function, rows[7].text, false)->fields[1].text, "a] b");
}

}  // namespace
