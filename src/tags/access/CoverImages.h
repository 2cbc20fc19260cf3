// Pictures as they stand in audio files.
//
// Threads: any.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QImage>
#include <QVariantList>

/// Collects the pictures of a file. What can't be decoded is skipped, and so is what goes past the memory that all
/// pictures of a file together may take.
class CoverCollector {
public:
    /// `bytes` are a whole picture file; only pictures made of points are taken, no drawings.
    void add(const char *bytes, qsizetype size);
    const QVariantList &images() const { return images_; }

private:
    QVariantList images_;
    qint64 bytesLeft_ = 128 * 1024 * 1024;
};

/// How often a JPEG is drawn over. A few bytes are a scan, and each is decoded over all of the picture: a quarter of a
/// megabyte can take two minutes.
struct JpegScans {
    int count = 0;
    bool isWhole = false; ///< its end is there
};
JpegScans jpegScans(QByteArrayView jpeg);
inline constexpr int kMostJpegScans = 100; // cameras and painting programs write ten

/// `image` as JPEG at full quality, what is transparent on white; empty if that can't be made.
QByteArray jpegOf(const QImage &image);
