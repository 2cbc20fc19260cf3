// A recogniser that says what a test has it say.
#pragma once

#include "identify/queue/ID3TagControl.h"

#include <QHash>
#include <functional>
#include <mutex>
#include <thread>

struct FakeRecogniser final : ID3TagControl {
    using Answer = std::function<void(ID3TagControlDelegate &, const RecognitionTask &, const std::stop_token &)>;

    bool isUsable() const override { return usable; }
    void setWantToGetID3Files(const QStringList &paths, const RecognitionTask &forTask,
                              const std::stop_token &stop) override {
        {
            const std::lock_guard lock(mutex);
            excerpts << paths;
        }
        answers.value(forTask.songID, otherwise)(*delegate(), forTask, stop);
    }
    static Answer saying(const QVariantList &info) {
        return [info](auto &hearer, const auto &, const auto &) { hearer.getMusicsID3Info(info); };
    }
    static void fail(ID3TagControlDelegate &hearer, const RecognitionTask &, const std::stop_token &) {
        hearer.getMusicID3Error();
    }
    /// Says nothing until it is told to stop.
    static void hang(ID3TagControlDelegate &hearer, const RecognitionTask &, const std::stop_token &stop) {
        while (!stop.stop_requested())
            std::this_thread::yield();
        hearer.getMusicID3Error();
    }

    std::atomic<bool> usable = true;
    Answer otherwise = fail;
    QHash<int32_t, Answer> answers; // before the track is asked for
    std::mutex mutex;
    QStringList excerpts; // under mutex
};
