#include "account/Account.h"

#include <algorithm>

#include "account/LogRequests.h"
#include "capture/Text.h"

namespace replay {

namespace {

// A value as it was before it was printed, if need be with another sign.
uint32_t unsigned32(const Field& field) {
    return field.number < INT32_MIN || field.number > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(field.number);
}

int32_t signed32(const Field& field) {
    return static_cast<int32_t>(std::clamp<int64_t>(field.number, INT32_MIN, INT32_MAX));
}

size_t fieldsOf(const MatchedLine& line) {
    const std::string_view format = line.entry->format;
    return static_cast<size_t>(std::count(format.begin(), format.end(), '%'));
}

void addStrategy(std::vector<std::string>& strategies, std::string_view strategy) {
    if (std::find(strategies.begin(), strategies.end(), strategy) == strategies.end()) {
        strategies.emplace_back(strategy);
    }
}

// The numbers of "5 17 "; where the line is cut, those that are whole. Nothing where the text holds anything else.
std::optional<FrameList> parseFrames(std::string_view text, bool whole) {
    if (!whole) text = text.substr(0, text.rfind(' ') + 1);  // npos + 1 is 0
    FrameList frames;
    while (!text.empty()) {
        const size_t blank = std::min(text.find(' '), text.size());
        uint32_t frame = 0;
        if (!parseNumber(text.substr(0, blank), frame)) return std::nullopt;
        frames.push_back(frame);
        text.remove_prefix(std::min(blank + 1, text.size()));
    }
    return frames;
}

// Reads the list that ends a line. One that is cut is kept as far as it goes only where more can be told of it.
void noteList(const MatchedLine& line, const char* name, bool keepCut, Account& account,
              std::optional<FrameList>& list) {
    list = parseFrames(line.fields[fieldsOf(line) - 1].text, line.isWhole);
    if (!list) account.unread.push_back(std::string("the ") + name + " list can't be read");
    if (!list || line.isWhole) return;
    account.unread.push_back(std::string("the ") + name + " list is cut after " + std::to_string(list->size()) +
                             " frames");
    if (!keepCut) list.reset();
}

void noteQueueList(const MatchedLine& line, bool isConsumer, bool isEmpty, Account& account) {
    std::optional<FrameList>& list = isConsumer ? account.consumer : account.producer;
    account.queueName = line.fields[1].text;
    if (isEmpty) {
        list = FrameList();
    } else {
        noteList(line, isConsumer ? "Consumer" : "Producer", true, account, list);
    }
}

void noteMet(const MatchedLine& line, ListKind list, bool removed, Account& account) {
    FrameMet met{list, unsigned32(line.fields[1]), std::nullopt};
    if (!removed) met.shutterTimeNs = line.fields[2].number;
    account.met.push_back(met);
}

// A group is judged by the reference frame of the line before.
void noteGroup(const MatchedLine& line, Account& account) {
    if (account.met.empty() || account.met.back().list != ListKind::kAll) {
        account.unread.push_back("the reference frame of the group at position " + std::string(line.fields[1].text));
        return;
    }
    const auto& f = line.fields;
    const FrameMet& reference = account.met.back();
    account.groups.push_back(
        {unsigned32(f[1]), reference.frame, *reference.shutterTimeNs, f[2].number, f[3].number, unsigned32(f[4])});
}

// Whether a line is there up to what it has to say: a list or an address at its end may be cut.
bool saysEnough(const MatchedLine& line) {
    const std::string_view format = line.entry->format;
    const char last = format[format.rfind('%') + 1];  // npos + 1 is 0
    const bool endsInText = (last == 's' || last == 'p') && line.entry->id != MessageId::kNotHeld;
    return line.isWhole || (endsInText && line.fieldCount + 1 >= fieldsOf(line));
}

void noteStrategy(std::string_view function, const std::optional<MatchedLine>& line, std::vector<std::string>& out) {
    if (line && line->entry->id == MessageId::kFallback) {
        addStrategy(out, "selectZSLFramesForZeroShutterDelay");
        addStrategy(out, "selectZSLFramesForNormal");
    } else if (function != "isSelectorNeeded" && function != "selectZSLFrames" && isKnownFunction(function)) {
        addStrategy(out, function);
    }
}

}  // namespace

void note(const LoggedLine& logged, const std::optional<MatchedLine>& matched, Account& account) {
    noteStrategy(logged.function(), matched, account.strategies);
    if (!matched || !saysEnough(*matched)) {
        account.unread.push_back("line " + std::to_string(logged.number) + ", which is " +
                                 (logged.cut ? "cut" : "damaged or unknown"));
        return;
    }
    const MatchedLine& line = *matched;
    const auto& f = line.fields;
    switch (line.entry->id) {
        case MessageId::kDisabled:
            account.disabled = true;
            break;
        case MessageId::kGate:
            account.gate = {f[1].number != 0, f[2].number, f[3].number, f[4].number,
                            f[5].number,      f[6].number, f[7].number};
            break;
        case MessageId::kNoMetaQueue:
            account.noMetaQueue = true;
            break;
        case MessageId::kNoConsumer:
        case MessageId::kConsumer:
            noteQueueList(line, true, line.entry->id == MessageId::kNoConsumer, account);
            break;
        case MessageId::kNoProducer:
        case MessageId::kProducer:
            noteQueueList(line, false, line.entry->id == MessageId::kNoProducer, account);
            break;
        case MessageId::kSensorPolicy:
            account.policy = {unsigned32(f[0]), unsigned32(f[1])};
            break;
        case MessageId::kDriver:
            account.driver = {f[0].number, unsigned32(f[1]), unsigned32(f[2]), unsigned32(f[3]), unsigned32(f[4])};
            break;
        case MessageId::kTarget:
            account.targetNs = f[1].number;
            account.clockNs = f[2].number;
            break;
        case MessageId::kFallback:
            account.fallback = true;
            break;
        case MessageId::kConsumerMet:
        case MessageId::kConsumerRemoved:
            noteMet(line, ListKind::kConsumer, line.entry->id == MessageId::kConsumerRemoved, account);
            break;
        case MessageId::kProducerMet:
            noteMet(line, ListKind::kProducer, false, account);
            break;
        case MessageId::kGroupReference:
            noteMet(line, ListKind::kAll, false, account);
            break;
        case MessageId::kGroup:
            noteGroup(line, account);
            break;
        case MessageId::kAnchor:
        case MessageId::kAnchorUnsigned:
            account.anchor = {f[1].number, unsigned32(f[2])};
            break;
        case MessageId::kNotHeld:
            account.notHeld.push_back({unsigned32(f[1]), std::string(f[2].text)});
            break;
        case MessageId::kBeforeThinning:
            noteList(line, "span's", false, account, account.beforeThinning);
            break;
        case MessageId::kAfterThinning:
            noteList(line, "thinned", false, account, account.afterThinning);
            break;
        default:
            break;  // says nothing that other lines do not
    }
}

void note(const std::optional<MatchedLine>& matched, CheckAccount& check) {
    if (!matched || !saysEnough(*matched)) return;
    const MatchedLine& line = *matched;
    const auto& f = line.fields;
    switch (line.entry->id) {
        case MessageId::kCheck:
            check.frame = unsigned32(f[0]);
            check.role = signed32(f[3]);
            check.aiHlFrames = signed32(f[4]);
            break;
        case MessageId::kCheckHeld:
            check.mode = unsigned32(f[2]);
            break;
        case MessageId::kCheckLost:
            check.held = false;
            break;
        case MessageId::kCheckWanted:
            check.wanted = signed32(f[0]);
            break;
        case MessageId::kCheckPassed:
        case MessageId::kCheckFailed:
            check.passed = line.entry->id == MessageId::kCheckPassed;
            break;
        default:
            break;
    }
}

Account accountOf(const std::vector<desk::LogLine>& lines) {
    LoggedRequest request;
    for (const desk::LogLine& line : lines) request.add(loggedLine(line));
    return std::move(request.account);
}

}  // namespace replay
