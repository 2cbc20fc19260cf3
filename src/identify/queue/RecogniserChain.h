// The recogniser: asks its sources one after another until one knows the track.
//
// Threads: as each member of ID3TagControl says.
#pragma once

#include "identify/queue/ID3TagControl.h"

#include <QList>
#include <mutex>
#include <utility>
#include <vector>

class RecogniserChain final : public ID3TagControl {
public:
    /// In the order in which they are asked.
    explicit RecogniserChain(std::vector<std::shared_ptr<RecogniserSource>> sources);

    bool isUsable() const override;
    void setWantToGetID3Files(const QStringList &paths, const RecognitionTask &forTask,
                              const std::stop_token &stop) override;

    /// What was said of the track last; empty for one that is not known, or was asked for long ago. Any thread.
    Recognition recognitionFor(int32_t songID) const;

private:
    RecogniserAnswer ask(const RecognitionTask &task, const std::stop_token &stop) const;
    void remember(int32_t songID, const Recognition &found);

    const std::vector<std::shared_ptr<RecogniserSource>> sources_;
    mutable std::mutex mutex_;
    QList<std::pair<int32_t, Recognition>> recent_; // the latest first; under mutex_
};
