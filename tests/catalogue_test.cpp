// The tool's catalogue of messages against the library's sources: each format string to the letter, at its level.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

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

// "7 -5 [name] 1 2": its numbers, the name and the frames.
std::string said(const replay::LoggedLine& line) {
    if (line.entry == nullptr) return "no such message";
    std::ostringstream text;
    for (const int64_t number : line.numbers) text << number << ' ';
    text << '[' << line.name << ']';
    for (const uint32_t frame : line.frames) text << ' ' << frame;
    return text.str();
}

struct Row {
    const char* function;
    const char* text;
    bool isCut;
    const char* said;
};

TEST(Catalogue, ReadsCutAndDamagedLinesAsFarAsTheyGo) {
    const Row rows[] = {
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9", false, "7 -5 9 []"},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:x curTime:9", false, "no such message"},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9 more", false, "no such message"},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 zsdTs:99999999999999999999 curTime:9", false, "no such message"},
        {"isSelectorNeeded", "[ZSLSelector] fwkFrame:7 zsdTs:-5 curTime:9", false, "no such message"},
        {"selectZSLFramesForSNSCBinning2",
         "[ZSLSelector] fwkFrame:7 ZSLAnchor offset:18446744073709551615 csbegin:2 consumerQ[1 ]", false,
         "7 -1 2 [] 1"},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] b] Current Consumer list: 1 2", false, "7 [a] b] 1 2"},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] Current Consumer list: 1 x", false, "no such message"},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] Current Consumer list: 1 2 13", true, "7 [a] 1 2"},
        {"selectZSLFrames", "[ZSLSelector] fwkFrame:7 [a] Current Consu", true, "no such message"},
        {"selectZSLFramesForSNSCBinning1", "[ZSLSelector] consumer: finalList:", false, "[]"},
    };
    for (const Row& row : rows) {
        replay::LoggedLine line;
        line.function = row.function;
        line.text = row.text;
        line.isCut = row.isCut;
        replay::readMessage(line);
        EXPECT_EQ(said(line), row.said) << row.text;
    }
}

}  // namespace
