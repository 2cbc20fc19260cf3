// What the three services answer, without the network.
//
// Threads: any.
#pragma once

#include "demo/RecognitionServer.h"

#include <QUrlQuery>
#include <optional>

struct ServiceRequest {
    QString method, path, userAgent;
    QUrlQuery parameters; ///< of the address and of a posted form

    /// The first request in `received`, which it takes out of there; nothing while it isn't whole.
    static std::optional<ServiceRequest> takeFrom(QByteArray &received);
    /// What stands in a parameter, decoded; null if it is missing.
    QString value(const QString &name) const;
    QString text() const;
};

/// The answer of whichever service `request` means, all of which stand at `address` and know `songs`. Pictures are at
/// `picturesAt`.
RecognitionServer::Answer serviceAnswer(const ServiceRequest &request, const QList<RecognitionServer::Song> &songs,
                                        const QString &address, const QString &picturesAt);
