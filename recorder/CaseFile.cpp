#include "recorder/CaseFile.h"

#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "api/MetadataValue.h"

namespace recorder {

// A tag's line, if it is set. Values of the integral types are numbers, of all others bytes.
static std::string lineOf(std::string_view tag, const camera_metadata_ro_entry_t& entry) {
    constexpr const char* kTypes[] = {"byte", "int32", "float", "int64", "double", "rational"};
    constexpr size_t kMostBytes = 256;  // no selector reads more of a tag
    if (entry.count == 0) return "";
    const size_t size = zohal::payloadSize(entry);
    const size_t step = entry.type == TYPE_INT64 ? 8 : entry.type == TYPE_INT32 ? 4 : 1;
    std::string text = size > kMostBytes ? "\n      # cut, of " + to_string(entry.count) + " values" : "";
    text += "\n      " + std::string(tag) + ": {type: ";
    text += entry.type <= TYPE_RATIONAL ? kTypes[entry.type] : to_string(entry.type);
    text += size == 0 ? ", count: " + to_string(entry.count) + ", values: [" : ", values: [";  // none: without data
    for (size_t at = 0; at < std::min(size, kMostBytes); at += step) {
        const int64_t value = step == 8   ? zohal::valueAt<int64_t>(entry, at)
                              : step == 4 ? zohal::valueAt<int32_t>(entry, at)
                                          : entry.data.u8[at];
        text += (at == 0 ? "" : ", ") + to_string(value);
    }
    return text + "]},";
}

// One file comes at a time, so one goes.
static void removeOldest(const std::string& folder) {
    const auto writtenAt = [](const char* path) {
        struct stat status {};
        stat(path, &status);
        return std::pair(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    };
    const auto isOlder = [&](const char* path, const char* other) { return writtenAt(path) < writtenAt(other); };
    glob_t found{};
    glob((folder + "/zsl-[0-9]*-[0-9]*.yaml").c_str(), 0, nullptr, &found);
    char** const end = found.gl_pathv + found.gl_pathc;
    if (found.gl_pathc >= 16) unlink(*std::min_element(found.gl_pathv, end, isOlder));
    globfree(&found);
}

std::string to_string(const FrameList& frames) {
    std::string text;
    for (const uint32_t frame : frames) text.append(", ").append(to_string(frame));
    return text.replace(0, 2, "[") + ']';
}

std::string quoted(const std::string& name) {
    std::string text = "\"";
    bool isLatin = false;  // of two bytes, the second of which is the character's number: control characters among them
    for (const uint8_t byte : name) {
        const bool isPlain = !isLatin && byte >= 0x20 && byte != 0x7F && byte != '"' && byte != '\\';
        char shown[5];
        std::snprintf(shown, sizeof(shown), isPlain ? "%c" : "\\x%02X", byte);
        isLatin = byte == 0xC2;
        if (!isLatin) text += shown;
    }
    return text + '"';
}

std::string tagsOf(const ZoMetadata* metadata, std::initializer_list<const char*> tags) {
    if (metadata == nullptr) return "null";
    std::string text = "{";
    // Vendor tags have a name, this one has an id.
    for (const std::string_view tag : tags)
        text += lineOf(tag, tag == "android.control.enableZsl" ? metadata->find(0x10029) : metadata->find(tag.data()));
    return text + '}';
}

CaseFile::CaseFile(Recorder& recorder) {
    removeOldest(recorder.folder);
    do {  // a file of the name is an earlier process's that had the same number
        path = recorder.folder + "/zsl-" + std::to_string(getpid()) + '-' + std::to_string(++recorder.files) + ".yaml";
        file.reset(fopen(path.c_str(), "wxe"));
    } while (!file && errno == EEXIST);
    if (!file) throw std::system_error(errno, std::generic_category(), path);
}

void CaseFile::append(const std::string& request) {
    const bool isWritten = fwrite(request.data(), request.size(), 1, file.get()) == 1 && fflush(file.get()) == 0;
    if (!isWritten && requests == 0) unlink(path.c_str());
    if (!isWritten) throw std::system_error(errno, std::generic_category(), path);
    bytes += request.size();
    ++requests;
}

}  // namespace recorder
