// Looks for the covers of a track: the picture that the player showed, and what the Cover Art Archive has of the
// release.
//
// Threads: as GetImageController says.
#pragma once

#include "identify/online/CoverPicture.h"
#include "identify/online/HttpClient.h"
#include "identify/queue/GetImageController.h"
#include "identify/recognition/RecogniserSource.h"

#include <QCache>
#include <QUrl>
#include <functional>
#include <memory>
#include <mutex>

/// The pictures of the archive that were fetched last: the tracks of an album share theirs. Any thread.
class RecentPictures {
public:
    /// Empty for one that is not here.
    QByteArray picture(const QUrl &address) const;
    void insert(const QUrl &address, const QByteArray &picture);

private:
    mutable std::mutex mutex_;
    QCache<QUrl, QByteArray> pictures_{4 * 1024 * 1024}; // bytes; under mutex_
};

class ImageSearch : public GetImageController {
public:
    /// What the recogniser found for a track. Any thread.
    using RecognitionFor = std::function<Recognition(int32_t songID)>;

    ImageSearch(std::shared_ptr<HttpClient> client, RecognitionFor recognitionFor)
        : client_(std::move(client)), recognitionFor_(std::move(recognitionFor)) {}

    /// Answers before it returns.
    void getCoverImage(const QVariantList &wanted, int32_t forSongID, const std::stop_token &stop) override;

private:
    const std::shared_ptr<HttpClient> client_;
    const RecognitionFor recognitionFor_;
    FetchedPictures pictures_;
    RecentPictures recent_;
};
