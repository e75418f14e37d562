#include "recorder/RecordedQueue.h"

#include <algorithm>
#include <new>

namespace recorder {

namespace {

class RecordedQueue final : public zohal::ZSLFrameQueue {
public:
    RecordedQueue(std::shared_ptr<ZSLFrameQueue> queue, std::shared_ptr<QueueNotes> notes)
        : mQueue(std::move(queue)), mNotes(std::move(notes)) {}

    int32_t getQueueType() const override { return mQueue->getQueueType(); }
    void reservedForHalCore() override { mQueue->reservedForHalCore(); }
    std::string getName() const override { return mQueue->getName(); }
    uint32_t getQueueId() const override { return mQueue->getQueueId(); }

    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override {
        const zohal::ZSLFrameEntry* const entry = mQueue->getFrame(zslFrame);
        decltype(mNotes->frames)::mapped_type values;
        if (entry != nullptr) values.emplace(entry->metaInfo.shutterTime, entry->perframeSensorMode);
        note(mNotes->frames, zslFrame, values);
        return entry;
    }
    FrameList getFrameList(int32_t kind) const override {
        FrameList list = mQueue->getFrameList(kind);
        note(mNotes->lists, kind, list);
        return list;
    }

private:
    // Must not be noticed, not even where memory is short.
    template <typename Question, typename Answer>
    void note(std::map<Question, Answer>& answers, Question question, const Answer& answer) const noexcept try {
        const auto [noted, isNew] = answers.try_emplace(question, answer);
        if (isNew || noted->second == answer) return;
        mNotes->changed = true;
        noted->second = answer;
    } catch (...) {
        mNotes->failed = true;
    }

    const std::shared_ptr<ZSLFrameQueue> mQueue;
    const std::shared_ptr<QueueNotes> mNotes;
};

}  // namespace

Queues recordedQueues(const Queues& queues, Notes& notes) {
    Queues recorded(queues.size());
    notes.resize(queues.size());
    for (size_t i = 0; i < queues.size(); ++i) {
        if (!queues[i]) continue;
        const size_t first = std::find(queues.begin(), queues.end(), queues[i]) - queues.begin();
        if (!notes[first]) notes[first] = std::make_shared<QueueNotes>();
        notes[i] = notes[first];
        notes[i]->queue = queues[i].get();
        recorded[i] = first < i ? recorded[first] : std::make_shared<RecordedQueue>(queues[i], notes[i]);
    }
    return recorded;
}

void askForRest(const Queues& recorded, const Notes& notes) {
    FrameList listed;  // by any queue, since selectors compare queues
    for (size_t i = 0; i < recorded.size(); ++i) {
        if (!recorded[i]) continue;
        for (int32_t kind = zohal::kConsumerList; kind <= zohal::kAllFrames; ++kind) {
            if (notes[i]->lists.count(kind) == 0) recorded[i]->getFrameList(kind);
        }
        for (const auto& [kind, list] : notes[i]->lists) listed.insert(listed.end(), list.begin(), list.end());
    }
    std::sort(listed.begin(), listed.end());
    listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
    for (size_t i = 0; i < recorded.size(); ++i) {
        if (!recorded[i]) continue;
        for (const uint32_t zslFrame : listed) {
            if (notes[i]->frames.count(zslFrame) == 0) recorded[i]->getFrame(zslFrame);
        }
        if (notes[i]->failed) throw std::bad_alloc();
        if (!notes[i]->identity.empty()) continue;
        notes[i]->type = recorded[i]->getQueueType();
        put(notes[i]->identity, "id: ", recorded[i]->getQueueId(), ", type: ", notes[i]->type,
            ", name: ", quoted(recorded[i]->getName()));
    }
}

// A queue as a case has it.
void append(std::string& text, const QueueNotes& notes) {
    put(text, "    {", notes.identity, ", consumer: ", notes.lists.at(zohal::kConsumerList),
        ",\n     producer: ", notes.lists.at(zohal::kProducerList), ", all: ", notes.lists.at(zohal::kAllFrames),
        ",\n     frames: {");
    const char* separator = "";
    for (const auto& [zslFrame, entry] : notes.frames) {
        if (!entry) continue;
        put(text, std::exchange(separator, ", "), zslFrame, ": ");
        // Only the value that entries of such a queue are known to have.
        if (notes.type == zohal::kFrameInfoQueue) {
            put(text, "{mode: ", entry->second, "}");
        } else {
            append(text, notes.type == zohal::kMetaQueue ? entry->first : 0);
        }
    }
    text += "}},\n";
}

void append(std::string& text, const Notes& queues) {
    text += "  queues: [\n";
    for (const auto& queue : queues) {
        if (queue) append(text, *queue);
    }
    text += "    ]\n";
    for (const auto& queue : queues) {
        if (!queue) text += "  # a null queue handle is left out\n";
        if (queue && queue->changed) text += "  # one question had two answers: this may not replay exactly\n";
    }
}

}  // namespace recorder
