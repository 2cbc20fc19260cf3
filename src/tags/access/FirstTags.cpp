#include "tags/access/FirstTags.h"

#include "store/DataBaseManager.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

TagWriteOutcome writeID3(SongItem &song) {
    const TagWriteOutcome outcome =
        TagLibHelper::writeID3Info(song.songPath(), tagDictionaryOf(song, /*isWithCover=*/true));
    song.setSize(AudioConverter::getFileSize(song.songPath()));
    DataBaseManager::defaultManager().updateSongItem(song);
    return outcome;
}
