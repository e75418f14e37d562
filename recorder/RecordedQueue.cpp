#include "recorder/RecordedQueue.h"

#include <algorithm>
#include <set>

namespace recorder {

namespace {

// Must not be noticed, not even where memory is short.
template <typename Key, typename Answer>
void note(QueueNotes& notes, std::map<Key, Answer>& answers, Key question, const Answer& answer) noexcept try {
    Answer& noted = answers.try_emplace(question, answer).first->second;
    notes.isSure &= noted == answer;
    noted = answer;
} catch (...) {
    notes.isSure = false;
}

const zohal::ZSLFrameEntry* askFrame(QueueNotes& notes, uint32_t zslFrame) {
    const zohal::ZSLFrameEntry* const entry = notes.queue->getFrame(zslFrame);
    std::optional<std::pair<int64_t, uint32_t>> values;
    if (entry != nullptr) values.emplace(entry->metaInfo.shutterTime, entry->perframeSensorMode);
    note(notes, notes.frames, zslFrame, values);
    return entry;
}

FrameList askList(QueueNotes& notes, int32_t kind) {
    FrameList list = notes.queue->getFrameList(kind);
    note(notes, notes.lists, kind, list);
    return list;
}

struct RecordedQueue final : public zohal::ZSLFrameQueue {
    RecordedQueue(std::shared_ptr<ZSLFrameQueue> queue, std::shared_ptr<QueueNotes> notes)
        : mQueue(std::move(queue)), mNotes(std::move(notes)) {}

    int32_t getQueueType() const override { return mQueue->getQueueType(); }
    void reservedForHalCore() override { mQueue->reservedForHalCore(); }
    std::string getName() const override { return mQueue->getName(); }
    uint32_t getQueueId() const override { return mQueue->getQueueId(); }
    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override { return askFrame(*mNotes, zslFrame); }
    FrameList getFrameList(int32_t kind) const override { return askList(*mNotes, kind); }

    const std::shared_ptr<ZSLFrameQueue> mQueue;
    const std::shared_ptr<QueueNotes> mNotes;
};

}  // namespace

Queues recordedQueues(const Queues& queues, Notes& notes) {
    Queues recorded(queues.size());
    notes.resize(queues.size());
    for (size_t i = 0; i < queues.size(); ++i) {
        const size_t first = std::find(queues.begin(), queues.end(), queues[i]) - queues.begin();
        if (notes[first] && notes[first]->queue != queues[i].get()) notes[first] = nullptr;
        if (queues[i] && !notes[first]) notes[first] = std::make_shared<QueueNotes>(QueueNotes{queues[i].get()});
        notes[i] = notes[first];
        if (first < i) recorded[i] = recorded[first];
        if (queues[i] && !recorded[i]) recorded[i] = std::make_shared<RecordedQueue>(queues[i], notes[i]);
    }
    return recorded;
}

void askForRest(const Notes& notes) {
    std::set<uint32_t> listed;  // by any queue, since selectors compare queues
    for (const auto& each : notes) {
        for (int32_t kind = zohal::kConsumerList; each && kind <= zohal::kAllFrames; ++kind) {
            if (each->lists.count(kind) == 0) askList(*each, kind);
            listed.insert(each->lists.at(kind).begin(), each->lists.at(kind).end());
        }
    }
    for (const auto& each : notes) {
        if (!each) continue;
        for (const uint32_t zslFrame : listed) {
            if (each->frames.count(zslFrame) == 0) askFrame(*each, zslFrame);
        }
        each->identity = "id: " + to_string(each->queue->getQueueId()) +
                         ", type: " + to_string(each->queue->getQueueType()) +
                         ", name: " + quoted(each->queue->getName());
    }
}

std::string textOf(const QueueNotes& notes) {
    std::string text = "    {" + notes.identity + ", consumer: " + to_string(notes.lists.at(zohal::kConsumerList)) +
                       ",\n     producer: " + to_string(notes.lists.at(zohal::kProducerList)) +
                       ", all: " + to_string(notes.lists.at(zohal::kAllFrames)) + ",\n     frames: {";
    for (const auto& [zslFrame, entry] : notes.frames) {
        if (!entry) continue;
        text.append(to_string(zslFrame)).append(": {shutter: ").append(to_string(entry->first));
        text.append(", mode: ").append(to_string(entry->second)).append("}, ");
    }
    return text + "}},\n";
}

}  // namespace recorder
