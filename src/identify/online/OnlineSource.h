// Asks AcoustID what a track is, by its fingerprint, and MusicBrainz how that is called and where it appeared.
//
// What leaves the computer is the fingerprint and the length; and only if the user allows it.
//
// Threads: as RecogniserSource says.
#pragma once

#include "identify/online/HttpClient.h"
#include "identify/recognition/RecogniserSource.h"

#include <memory>
#include <mutex>
#include <set>

class OnlineSource : public RecogniserSource {
public:
    explicit OnlineSource(std::shared_ptr<HttpClient> client) : client_(std::move(client)) {}

    QString key() const override;
    bool isUsable() const override;
    RecogniserAnswer recognise(const RecognitionTask &task, const std::stop_token &stop) override;

private:
    RecogniserAnswer lookUp(const RecognitionTask &task, bool isAskedAnew, const std::stop_token &stop) const;

    std::mutex mutex_;
    std::set<int32_t> unnamed_; // the tracks that were asked for without success; under mutex_
    const std::shared_ptr<HttpClient> client_;
};
