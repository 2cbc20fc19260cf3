#include "tags/access/FirstTags.h"

#include "store/DataBaseManager.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

void writeID3(SongItem &song) {
    // The track enters the library whether or not its file took the tags.
    TagLibHelper::setID3Info(song.songPath(), tagDictionaryOf(song, /*isWithCover=*/true));
    song.setSize(AudioConverter::getFileSize(song.songPath()));
    DataBaseManager::defaultManager().updateSongItem(song);
}
