<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<!-- The English texts that differ from their keys, with a reason each; all other keys are their own text. -->
<context>
    <name>Corvidia</name>
    <message>
        <source>Show in Finder</source>
        <translatorcomment>The Finder is another desktop's file manager; the ones here call themselves Files.</translatorcomment>
        <translation>Show in Files</translation>
    </message>
    <message>
        <source>Add to iTunes</source>
        <translatorcomment>iTunes does not exist here; tracks go into playlists that every player reads.</translatorcomment>
        <translation>Add to Playlist</translation>
    </message>
    <message>
        <source>Accessing Gracenote® Database…</source>
        <translatorcomment>That service is closed; names come from the players, from the library, and from services that are open.</translatorcomment>
        <translation>Looking up track names…</translation>
    </message>
    <message>
        <source>The function of Music Identify require:
1 Internet Connection.
2 The initial 20 seconds part of the track is needed.</source>
        <translatorcomment>Not every source of names needs the Internet.</translatorcomment>
        <translation>A track is known by its first 20 seconds.</translation>
    </message>
    <message>
        <source>About %2$@</source>
        <translatorcomment>The one argument is the program's name.</translatorcomment>
        <translation>About %1</translation>
    </message>
    <message>
        <source>Hide %2$@</source>
        <translatorcomment>The one argument is the program's name.</translatorcomment>
        <translation>Hide %1</translation>
    </message>
    <message>
        <source>Quit %2$@</source>
        <translatorcomment>The one argument is the program's name.</translatorcomment>
        <translation>Quit %1</translation>
    </message>
    <message>
        <source>Do you want to move these items to the trash?                       </source>
        <translatorcomment>The blanks widened a panel; a dialog here is as wide as its text. The Trash is a name.</translatorcomment>
        <translation>Do you want to move these items to the Trash?</translation>
    </message>
    <message>
        <source>duplicate items will be moved to trash.</source>
        <translatorcomment>The Trash is a name.</translatorcomment>
        <translation>duplicate items will be moved to the Trash.</translation>
    </message>
</context>
</TS>
