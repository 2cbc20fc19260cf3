// A row of the filter's two lists.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"

/// The lists, each with a mark of its own on its rows.
enum class FilterTab { Short, Duplicate };

/// One track, and the marks that the user gives it in the window. Title and artist stay as they were when it opened.
class FilterAdsItem {
public:
    explicit FilterAdsItem(SongPtr song)
        : isAds_(song->isAds()),
          isRetainAds_(!song->isAds()),
          title_(song->title()),
          artist_(song->artist()),
          duration_(song->length()),
          object_(std::move(song)) {}

    /// The track may be removed from the list of short ones.
    bool isAds() const { return isAds_; }
    void setIsAds(bool isAds) { isAds_ = isAds; }
    bool isDuplicate() const { return isDuplicate_; }
    void setIsDuplicate(bool isDuplicate) { isDuplicate_ = isDuplicate; }
    /// The mark in the list of duplicates.
    bool dontDelete() const { return dontDelete_; }
    void setDontDelete(bool dontDelete) { dontDelete_ = dontDelete; }
    /// The mark in the list of short tracks.
    bool isRetainForAds() const { return isRetainAds_; }
    void setIsRetainForAds(bool isRetain) { isRetainAds_ = isRetain; }

    bool isKept(FilterTab tab) const { return tab == FilterTab::Short ? isRetainAds_ : dontDelete_; }
    void setIsKept(FilterTab tab, bool isKept) { (tab == FilterTab::Short ? isRetainAds_ : dontDelete_) = isKept; }

    const QString &title() const { return title_; }
    const QString &artist() const { return artist_; }
    /// Milliseconds.
    qint64 duration() const { return duration_; }
    QString date() const { return object_->dateString(); }
    const QDateTime &addedDate() const { return object_->addedDate(); }
    QString time() const { return object_->playLength(); }
    const SongPtr &object() const { return object_; }

private:
    bool isAds_;
    bool isDuplicate_ = false;
    bool dontDelete_ = true;
    bool isRetainAds_;
    QString title_;
    QString artist_;
    qint64 duration_;
    SongPtr object_;
};

using FilterAdsItemPtr = std::shared_ptr<FilterAdsItem>;
using FilterAdsItems = QList<FilterAdsItemPtr>;
