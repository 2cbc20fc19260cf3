// All drawings of the recording page's scene, made by one hand: strokes and colours of the look, drawn for whatever
// scale they are shown at.
//
// Threads: main.
#pragma once

#include <QPixmap>
#include <QString>

/// "00100%1.png", 00 to 35, a microphone that breathes in and out; "00200%1.png", 50 to 70, a record that goes into its
/// cover; "00300%1.png", 00 to 11, a wheel that turns; "Note1.png" to "Note6.png"; "cloud"; "empty" and "fill", a
/// bar's.
bool isSceneImage(const QString &name);

/// The drawing of that name in the colours of now, for a screen of that ratio. Null if there is none.
QPixmap sceneImage(const QString &name, qreal devicePixelRatio);
