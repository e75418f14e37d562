#include "recorder/RecordedQueue.h"

#include <algorithm>
#include <new>
#include <utility>

namespace recorder {

namespace {

constexpr const char* kLists[] = {"consumer", "producer", "all"};  // by zohal::ZSLFrameListKind
constexpr char kHeld[] = "0";                                      // an entry without a value

class RecordedQueue final : public zohal::ZSLFrameQueue {
public:
    RecordedQueue(std::shared_ptr<ZSLFrameQueue> queue, const std::shared_ptr<QueueNotes>& notes)
        : mQueue(std::move(queue)), mNotes(notes) {}

    int32_t getQueueType() const override {
        const int32_t type = noted("type", mQueue->getQueueType());
        attempt([type](QueueNotes& notes) { notes.type = type; });
        return type;
    }
    void reservedForHalCore() override { mQueue->reservedForHalCore(); }
    std::string getName() const override { return noted("name", mQueue->getName()); }
    uint32_t getQueueId() const override { return noted("id", mQueue->getQueueId()); }

    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override {
        const zohal::ZSLFrameEntry* const entry = mQueue->getFrame(zslFrame);
        attempt([&](QueueNotes& notes) { notes.note(zslFrame, entry); });
        return entry;
    }

    FrameList getFrameList(int32_t kind) const override {
        FrameList list = mQueue->getFrameList(kind);
        if (kind < zohal::kConsumerList || kind > zohal::kAllFrames) return list;
        attempt([&](QueueNotes& notes) {
            const std::string text = textOf(list);
            if (!notes.answers.is(kLists[kind], text))
                notes.listed.insert(notes.listed.end(), list.begin(), list.end());
            notes.answers.note(kLists[kind], text);
        });
        return list;
    }

private:
    template <typename Answer>
    Answer noted(const char* question, Answer answer) const {
        attempt([&](QueueNotes& notes) { notes.answers.note(question, textOf(answer)); });
        return answer;
    }

    // Noting must not be noticed, not even where memory is short.
    template <typename Note>
    void attempt(Note note) const noexcept {
        const auto notes = mNotes.lock();
        try {
            if (notes) note(*notes);
        } catch (...) {
            notes->failed = true;
        }
    }

    const std::shared_ptr<ZSLFrameQueue> mQueue;
    const std::weak_ptr<QueueNotes> mNotes;
};

}  // namespace

void QueueNotes::note(uint32_t zslFrame, const zohal::ZSLFrameEntry* entry) {
    // Only the value that entries of such a queue are known to have.
    std::string text = entry != nullptr ? kHeld : "";
    if (entry != nullptr && type == zohal::kMetaQueue) text = textOf(entry->metaInfo.shutterTime);
    if (entry != nullptr && type == zohal::kFrameInfoQueue) text = "{mode: " + textOf(entry->perframeSensorMode) + '}';
    const auto [frame, isNew] = frames.try_emplace(zslFrame, text);
    std::string& noted = frame->second;
    answers.changed |= noted != text && noted != kHeld;
    answers.fresh |= isNew || noted != text;
    noted = std::move(text);
}

std::string QueueNotes::text() const {
    Answers all = answers;
    all["frames"] = joined('{', frames, '}', [](const auto& frame) {
        return frame.second.empty() ? "" : textOf(frame.first) + ": " + frame.second;
    });
    return "\n   " + all.text();
}

Queues recordedQueues(const Queues& queues, Notes& notes) {
    Queues recorded(queues.size());
    notes.resize(queues.size());
    for (size_t i = 0; i < queues.size(); ++i) {
        if (!queues[i]) continue;
        const size_t first = std::find(queues.begin(), queues.end(), queues[i]) - queues.begin();
        if (!notes[first]) notes[first].reset(new QueueNotes{queues[i].get()});
        notes[i] = notes[first];
        recorded[i] = first < i ? recorded[first] : std::make_shared<RecordedQueue>(queues[i], notes[i]);
    }
    return recorded;
}

void askForRest(const Queues& recorded, const Notes& notes) {
    FrameList frames;  // of all queues, since selectors compare queues
    for (size_t i = 0; i < recorded.size(); ++i) {
        if (!recorded[i]) continue;
        if (!notes[i]->answers.has("type")) recorded[i]->getQueueType();
        if (!notes[i]->answers.has("name")) recorded[i]->getName();
        if (!notes[i]->answers.has("id")) recorded[i]->getQueueId();
        for (int32_t kind = zohal::kConsumerList; kind <= zohal::kAllFrames; ++kind) {
            if (!notes[i]->answers.has(kLists[kind])) recorded[i]->getFrameList(kind);
        }
        frames.insert(frames.end(), notes[i]->listed.begin(), notes[i]->listed.end());
    }
    std::sort(frames.begin(), frames.end());
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    for (size_t i = 0; i < recorded.size(); ++i) {
        if (!recorded[i]) continue;
        const bool hasValues = notes[i]->type == zohal::kMetaQueue || notes[i]->type == zohal::kFrameInfoQueue;
        for (const uint32_t zslFrame : frames) {
            const auto noted = notes[i]->frames.find(zslFrame);
            const bool open = noted == notes[i]->frames.end() || (hasValues && noted->second == kHeld);
            if (open) recorded[i]->getFrame(zslFrame);
        }
        if (notes[i]->failed) throw std::bad_alloc();
    }
}

}  // namespace recorder
