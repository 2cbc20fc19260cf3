// The service that knows recordings by their fingerprints: what it is asked, and what its answer is worth.
//
// Threads: any.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// A recording as the service names it; its identifier is that of MusicBrainz.
struct AcoustIDRecording {
    QString identifier;
    QString title, artist; ///< null where it does not say
};

struct AcoustIDAnswer {
    enum class Outcome {
        Found,
        NoMatch,   ///< nothing that sounds so and is about as long
        Ambiguous, ///< something, but not sure enough, or more than one thing
        WrongKey,
        Failed,
    };

    Outcome outcome = Outcome::Failed;
    AcoustIDRecording recording = {};
};

/// The form to be posted. `durationDifference`: seconds by which a recording may be longer or shorter; the service has
/// 7 if there is none, and takes up to 30.
QByteArray acoustIDForm(const QString &key, const QByteArray &fingerprint, double seconds,
                        std::optional<int> durationDifference = {});

/// What `body` says of a track that lasts `seconds`.
AcoustIDAnswer acoustIDAnswer(const QByteArray &body, double seconds);
