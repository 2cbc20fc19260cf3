// What the program recognises tracks with: the one place that knows every source of names and covers.
//
// Threads: main.
#pragma once

/// Gives the queue its recogniser. At the start, before a track is asked for.
void setUpRecogniser();
