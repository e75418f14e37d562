#include "recorder/CaseFile.h"

#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <system_error>

#include "api/MetadataValue.h"

namespace recorder {

namespace {

void appendValue(std::string& text, const camera_metadata_ro_entry_t& entry, size_t offset) {
    if (entry.type == TYPE_FLOAT || entry.type == TYPE_DOUBLE) {
        const bool isFloat = entry.type == TYPE_FLOAT;
        const double real = isFloat ? zohal::valueAt<float>(entry, offset) : zohal::valueAt<double>(entry, offset);
        char digits[32];
        std::snprintf(digits, sizeof(digits), "%.17g", real);
        text += std::isfinite(real) ? digits : std::isnan(real) ? ".nan" : real < 0 ? "-.inf" : ".inf";
    } else {
        const size_t size = zohal::elementSize(entry.type);
        append(text, size == 8   ? zohal::valueAt<int64_t>(entry, offset)
                     : size == 4 ? zohal::valueAt<int32_t>(entry, offset)
                                 : entry.data.u8[offset]);
    }
}

// Whether all of its values are there.
bool appendTag(std::string& text, const camera_metadata_ro_entry_t& entry) {
    constexpr const char* kTypes[] = {"byte", "int32", "float", "int64", "double", "rational"};
    constexpr size_t kMostBytes = 256;  // no selector reads more of a tag
    const size_t size = zohal::elementSize(entry.type);
    const size_t count = entry.data.u8 == nullptr ? 0 : std::min(entry.count, kMostBytes / size);
    put(text, "{type: ", entry.type <= TYPE_RATIONAL ? kTypes[entry.type] : std::to_string(entry.type));
    if (count == 0) text += ", count: " + std::to_string(entry.count);
    for (size_t i = 0; i < count; ++i) {
        text += i == 0 ? ", values: [" : ", ";
        appendValue(text, entry, i * size);
    }
    text += count == 0 ? "}" : "]}";
    return count == 0 || count == entry.count;
}

// One file comes at a time, so one goes.
void removeOldest(const std::string& folder) {
    constexpr size_t kFilesKept = 16;
    const auto isOlder = [](const char* path, const char* other) {
        struct stat status[2] = {};
        stat(path, &status[0]);
        stat(other, &status[1]);
        const timespec &time = status[0].st_mtim, &otherTime = status[1].st_mtim;
        return time.tv_sec < otherTime.tv_sec || (time.tv_sec == otherTime.tv_sec && time.tv_nsec < otherTime.tv_nsec);
    };
    glob_t found{};
    glob((folder + "/zsl-[0-9]*-[0-9]*.yaml").c_str(), 0, nullptr, &found);
    char** const end = found.gl_pathv + found.gl_pathc;
    if (found.gl_pathc >= kFilesKept) unlink(*std::min_element(found.gl_pathv, end, isOlder));
    globfree(&found);
}

}  // namespace

std::string quoted(const std::string& name) {
    std::string text = "\"";
    bool isLatin = false;  // of two bytes, the second of which is the character's number: control characters among them
    for (const char character : name) {
        const auto byte = static_cast<uint8_t>(character);
        char escaped[8] = {character};
        if (isLatin || byte < 0x20 || byte == 0x7F || byte == '"' || byte == '\\') {
            std::snprintf(escaped, sizeof(escaped), "\\x%02X", byte);
        }
        isLatin = byte == 0xC2;
        if (!isLatin) text += escaped;
    }
    return text + '"';
}

std::string tagsOf(const ZoMetadata* metadata, std::initializer_list<const char*> tags) {
    if (metadata == nullptr) return "null";
    std::string text = "{", comment;
    for (const std::string_view tag : tags) {
        // Vendor tags have a name, this one has an id.
        const auto entry = tag == "android.control.enableZsl" ? metadata->find(0x10029) : metadata->find(tag.data());
        if (entry.count == 0) continue;
        put(text, text.size() > 1 ? ", " : "", tag, ": ");
        if (!appendTag(text, entry)) put(comment, "  # cut after 256 bytes: ", tag);
    }
    return text + '}' + comment;
}

CaseFile::CaseFile(Recorder& recorder) {
    removeOldest(recorder.folder);
    do {  // a file of the name is an earlier process's that had the same number
        path = recorder.folder + "/zsl-" + std::to_string(getpid()) + '-' + std::to_string(++recorder.files) + ".yaml";
        file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0640);
    } while (file < 0 && errno == EEXIST);
    if (file < 0) throw std::system_error(errno, std::generic_category(), path);
}

CaseFile::~CaseFile() {
    close(file);
    if (size == 0) unlink(path.c_str());
}

void CaseFile::append(std::string_view text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = write(file, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), path);
        if (written > 0) done += static_cast<size_t>(written);
    }
    size += text.size();
}

}  // namespace recorder
