#include "identify/queue/RecogniserChain.h"

#include "platform/run/Log.h"

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype kRemembered = 16; // a cover is looked for right after its track was recognised

using Outcome = RecogniserAnswer::Outcome;

QVariantMap resultOf(const Recognition &found) {
    QVariantMap result;
    for (const auto &[key, text] : {std::pair{"MusicTitle", &found.title}, std::pair{"AlbumArtist", &found.artist},
                                    std::pair{"AlbumTitle", &found.album}, std::pair{"AlbumYeas", &found.year},
                                    std::pair{"AlbumGenres", &found.genre}})
        if (!text->isEmpty())
            result.insert(QString::fromLatin1(key), *text);
    return result;
}

// A title alone, or an artist alone, names no track.
bool isResult(const Recognition &found) { return resultOf(found).size() > 1; }

} // namespace

RecogniserChain::RecogniserChain(std::vector<std::shared_ptr<RecogniserSource>> sources)
    : sources_(std::move(sources)) {}

bool RecogniserChain::isUsable() const {
    return std::ranges::any_of(sources_, [](const auto &source) { return source->isUsable(); });
}

void RecogniserChain::setWantToGetID3Files(const QStringList &paths, const RecognitionTask &forTask,
                                           const std::stop_token &stop) {
    RecognitionTask task = forTask;
    task.excerptPath = paths.value(0);
    const RecogniserAnswer answer = ask(task, stop);
    if (answer.outcome == Outcome::Failed) {
        delegate()->getMusicID3Error();
        return;
    }
    remember(task.songID, answer.found);
    QVariantList musicsInfo;
    if (answer.outcome == Outcome::Found)
        musicsInfo.append(resultOf(answer.found));
    delegate()->getMusicsID3Info(musicsInfo);
}

RecogniserAnswer RecogniserChain::ask(const RecognitionTask &task, const std::stop_token &stop) const {
    // Where nobody was asked, nobody can say that the track is unknown.
    Outcome outcome = Outcome::Failed;
    bool isAnyFailed = false;
    for (const auto &source : sources_) {
        if (stop.stop_requested())
            return {.outcome = Outcome::Failed};
        if (!source->isUsable())
            continue;
        RecogniserAnswer answer = source->recognise(task, stop);
        if (answer.outcome == Outcome::Found && isResult(answer.found)) {
            logLine(QStringLiteral("%1 knows track %2").arg(source->key()).arg(task.songID));
            return answer;
        }
        isAnyFailed = isAnyFailed || answer.outcome == Outcome::Failed;
        outcome = Outcome::NotFound;
    }
    return {.outcome = isAnyFailed ? Outcome::Failed : outcome};
}

Recognition RecogniserChain::recognitionFor(int32_t songID) const {
    const std::lock_guard lock(mutex_);
    const auto known = std::ranges::find(recent_, songID, &std::pair<int32_t, Recognition>::first);
    return known == recent_.end() ? Recognition() : known->second;
}

void RecogniserChain::remember(int32_t songID, const Recognition &found) {
    const std::lock_guard lock(mutex_);
    recent_.removeIf([songID](const auto &known) { return known.first == songID; });
    recent_.prepend({songID, found});
    if (recent_.size() > kRemembered)
        recent_.removeLast();
}
