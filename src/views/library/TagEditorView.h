// The parts of the tag editor and their places.
//
// Threads: main.
#pragma once

#include <QMap>
#include <QWidget>

class HighlightBox;
class ImageBrowserView;
class QLabel;
class SketchButton;
class TagField;

class TagEditorView : public QWidget {
    Q_OBJECT
public:
    static constexpr int kWidth = 187;

    TagEditorView();

    /// The parts for a track, or the sentence for none.
    void showsTrack(bool isTrack);
    /// "2 of 4" under the strip; nothing for null.
    void setCoverNumber(const QString &number);

    // By the names of the values
    QMap<QString, TagField *> fields;
    QMap<QString, HighlightBox *> boxes;
    QMap<QString, QLabel *> values;
    ImageBrowserView *imageBrowser = nullptr;
    SketchButton *leftButton = nullptr;
    SketchButton *rightButton = nullptr;

private:
    void addFields();
    void addValues();

    QWidget *editorContainerView_;
    QLabel *nilObjContainerView_;
    QLabel *coverNumber_ = nullptr;
};
