// The library over the views of its page.
#pragma once

#include "platform/files/Folders.h"
#include "support/PageViews.h"
#include "support/Songs.h"

#include <QDir>
#include <algorithm>
#include <gtest/gtest.h>
#include <optional>

struct LibraryOnPage : testing::Test, PageViews, LibraryCtrDelegate {
    LibraryOnPage() {
        EXPECT_TRUE(QDir().mkpath(coverImageFolder()));
        library.emplace(*this, all());
        page.resize(900, 501);
        page.show();
    }
    /// What its row says.
    static SongPtr stored(const SongPtr &song) {
        const SongArray rows = *DataBaseManager::defaultManager().getAllSongItems();
        return *std::ranges::find(rows, song->songID(), &SongItem::songID);
    }

    std::optional<LibraryCtr> library;
};
