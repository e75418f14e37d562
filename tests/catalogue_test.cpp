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
