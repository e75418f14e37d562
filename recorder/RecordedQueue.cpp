#include "recorder/RecordedQueue.h"

#include <algorithm>
#include <new>
#include <utility>

namespace recorder {

namespace {

constexpr const char* kLists[] = {"consumer", "producer", "all"};  // by zohal::ZSLFrameListKind
constexpr char kHeld[] = "0";                                      // of an entry without a value

class RecordedQueue final : public zohal::ZSLFrameQueue {
public:
    RecordedQueue(std::shared_ptr<ZSLFrameQueue> queue, const std::shared_ptr<QueueNotes>& notes)
        : mQueue(std::move(queue)), mNotes(notes) {}

    int32_t getQueueType() const override { return noted("type", mQueue->getQueueType()); }
    void reservedForHalCore() override { mQueue->reservedForHalCore(); }
    std::string getName() const override { return noted("name", mQueue->getName()); }
    uint32_t getQueueId() const override { return noted("id", mQueue->getQueueId()); }

    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override {
        const zohal::ZSLFrameEntry* const entry = mQueue->getFrame(zslFrame);
        attempt([&](QueueNotes& notes) { notes.note(zslFrame, entry); });
        return entry;
    }

    FrameList getFrameList(int32_t listKind) const override {
        FrameList list = mQueue->getFrameList(listKind);
        if (listKind < zohal::kConsumerList || listKind > zohal::kAllFrames) return list;
        attempt([&](QueueNotes& notes) { notes.listed.insert(notes.listed.end(), list.begin(), list.end()); });
        return noted(kLists[listKind], std::move(list));
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
        if (!notes) return;
        try {
            note(*notes);
        } catch (...) {
            notes->failed = true;
        }
    }

    const std::shared_ptr<ZSLFrameQueue> mQueue;
    const std::weak_ptr<QueueNotes> mNotes;
};

}  // namespace

void QueueNotes::note(uint32_t zslFrame, const zohal::ZSLFrameEntry* entry) {
    // Only the value that queues of this kind are known to fill in.
    std::string text = entry != nullptr ? kHeld : "";
    if (entry != nullptr && isType(zohal::kMetaQueue)) text = textOf(entry->metaInfo.shutterTime);
    if (entry != nullptr && isType(zohal::kFrameInfoQueue)) text = "{mode: " + textOf(entry->perframeSensorMode) + '}';
    std::string& noted = frames.try_emplace(zslFrame, text).first->second;
    answers.changed |= noted != text && noted != kHeld;
    noted = std::move(text);
}

Queues recordedQueues(const Queues& queues, Notes& notes) {
    Queues recorded(queues.size());
    notes.resize(queues.size());
    for (size_t i = 0; i < queues.size(); ++i) {
        if (!queues[i]) continue;
        const size_t first = std::find(queues.begin(), queues.end(), queues[i]) - queues.begin();
        if (!notes[i]) notes[i] = first < i ? notes[first] : std::make_shared<QueueNotes>(queues[i].get());
        recorded[i] = first < i ? recorded[first] : std::make_shared<RecordedQueue>(queues[i], notes[i]);
    }
    return recorded;
}

void askForRest(const Queues& recorded, const Notes& notes) {
    FrameList frames;  // of all queues, since selectors compare queues
    for (size_t i = 0; i < recorded.size(); ++i) {
        if (!recorded[i]) continue;
        const auto& answers = notes[i]->answers;
        if (answers.count("type") == 0) recorded[i]->getQueueType();
        if (answers.count("name") == 0) recorded[i]->getName();
        if (answers.count("id") == 0) recorded[i]->getQueueId();
        for (int32_t kind = zohal::kConsumerList; kind <= zohal::kAllFrames; ++kind) {
            if (answers.count(kLists[kind]) == 0) recorded[i]->getFrameList(kind);
        }
        frames.insert(frames.end(), notes[i]->listed.begin(), notes[i]->listed.end());
    }
    std::sort(frames.begin(), frames.end());
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    for (size_t i = 0; i < recorded.size(); ++i) {
        if (!recorded[i]) continue;
        const bool hasValues = notes[i]->isType(zohal::kMetaQueue) || notes[i]->isType(zohal::kFrameInfoQueue);
        for (const uint32_t zslFrame : frames) {
            const auto noted = notes[i]->frames.find(zslFrame);
            const bool open = noted == notes[i]->frames.end() || (hasValues && noted->second == kHeld);
            if (open) recorded[i]->getFrame(zslFrame);
        }
        if (notes[i]->failed) throw std::bad_alloc();
    }
}

}  // namespace recorder
