// The tag editor: what may be typed, what is reported, and what becomes a cover.
#include "views/controls/HighlightBox.h"
#include "views/controls/SketchButton.h"
#include "views/library/ID3ViewCtr.h"
#include "views/library/TagField.h"
#include "views/library/ThumbnailComposer.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QDir>
#include <QImageWriter>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QUrl>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

QString inHome(const QString &name) { return QDir::home().filePath(name); }

QString picture(const QString &name, const QSize &size = {20, 10}, const char *format = "png") {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    EXPECT_TRUE(image.save(inHome(name), format));
    return inHome(name);
}

QString bytesFile(const QString &name, const QByteArray &bytes) {
    QFile file(inHome(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return inHome(name);
}

// A PNG whose header promises so many points, and which holds none.
QByteArray promisingPng(quint32 width, quint32 height) {
    QByteArray chunk("IHDR");
    for (const quint32 side : {width, height})
        for (int shift = 24; shift >= 0; shift -= 8)
            chunk.append(static_cast<char>(side >> shift));
    chunk.append("\x08\x02\x00\x00\x00", 5);
    quint32 crc = 0xffffffff;
    for (const char byte : chunk) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? (crc >> 1) ^ 0xedb88320 : crc >> 1;
    }
    crc = ~crc;
    for (int shift = 24; shift >= 0; shift -= 8)
        chunk.append(static_cast<char>(crc >> shift));
    return QByteArray("\x89PNG\r\n\x1a\n\0\0\0\x0d", 12) + chunk;
}

struct TagEditor : testing::Test, ID3ViewCtrDelegate {
    ID3ViewCtr editor{*this};
    SongPtr song = std::make_shared<SongItem>();
    QList<QVariantMap> reports;
    QStringList refusals;
    int timesLeft = 0;

    TagEditor() {
        song->setTitle("Glass Hill");
        song->setYear("2019");
        song->setGenre("Folk");
        editor.view()->resize(187, 501);
        editor.view()->show();
        editor.view()->activateWindow();
    }
    void id3DataDidChange(const SongPtr &, const QVariantMap &changes) override { reports << changes; }
    void coverWasRefused(const QString &reason) override { refusals << reason; }
    void editorWasLeft() override { ++timesLeft; }

    TagField &field(const char *key) { return *editor.field(key); }
    static void press(QWidget &widget, Qt::Key key, const QString &text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, text);
        QApplication::sendEvent(&widget, &event);
    }
    static void type(TagField &field, const QString &text) {
        for (const QChar character : text)
            press(field, Qt::Key_unknown, character);
    }
    void enter(const char *key, const QString &text) {
        field(key).setFocus();
        field(key).selectAll();
        field(key).insert(text);
        press(field(key), Qt::Key_Return);
    }
    bool drop(const QString &path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        return editor.dragFile(*editor.imageBrowser(), data);
    }
    /// 'l' and 'r' for the step buttons that are there.
    QString buttons() {
        return QString(editor.leftButton()->isHidden() ? "" : "l") + (editor.rightButton()->isHidden() ? "" : "r");
    }
};

} // namespace

TEST(TagFormatters, CutWhatIsInsertedAndKeepTheTail) {
    struct Case {
        const char *name;
        bool isNumber;
        QString former;
        TextRange selected;
        QString inserted;
        QString result; ///< the former text where the edit is refused
    };
    const QString full(255, 'x');
    const QString room = "head" + QString(241, 'x') + "tail"; // six less than the most
    for (const auto &[name, isNumber, former, selected, inserted, result] : {
             Case{"digits", true, "20", {2, 0}, "19", "2019"},
             Case{"a fifth digit at the end", true, "2019", {4, 0}, "0", "2019"},
             Case{"a fifth digit in the middle", true, "2019", {2, 0}, "5", "2019"},
             Case{"a letter", true, "20", {2, 0}, "a", "20"},
             Case{"a digit of another script", true, "20", {2, 0}, QString(QChar(0x0661)), "20"},
             Case{"the last characters", false, room, {249, 0}, "123456", room + "123456"},
             Case{"one too many at the end", false, room, {249, 0}, "1234567", room},
             Case{"too many in the middle", false, room, {4, 0}, "123456789", "head123456" + room.mid(4)},
             Case{"in place of a part", false, full, {0, 5}, "123456789", "12345" + full.mid(5)},
             Case{"too long for an empty field", false, "", {0, 0}, full + "x", ""},
             Case{"half an emoji", false, full, {0, 5}, "1234" + QString("😀"), "1234" + full.mid(5)},
         }) {
        SCOPED_TRACE(name);
        const std::unique_ptr<NSStringFormatter> formatter =
            isNumber ? std::make_unique<NumberFormatter>() : std::make_unique<NSStringFormatter>();
        TagField edited(isNumber ? std::make_unique<NumberFormatter>() : std::make_unique<NSStringFormatter>());
        edited.setValue(former);
        edited.setSelection(static_cast<int>(selected.location), static_cast<int>(selected.length));
        if (selected.length == 0)
            edited.setCursorPosition(static_cast<int>(selected.location));
        edited.insert(inserted);
        EXPECT_EQ(edited.text(), result);
    }
}

TEST_F(TagEditor, ReportsWhatTheUserEnds) {
    struct Case {
        const char *key;
        QString typed;
        QVariantMap report; ///< none where empty
    };
    editor.setSongItem(song);
    for (const auto &[key, typed, report] : {
             Case{"title", "  Morning Line\t", {{"title", "Morning Line"}}},
             Case{"title", "Morning Line", {}},
             Case{"title", "   ", {{"title", ""}}},
             Case{"artist", "坂本 😀 Ömer", {{"artist", "坂本 😀 Ömer"}}},
             Case{"year", "0199", {{"year", "199"}}},
             Case{"year", "", {{"year", ""}}},
             Case{"year", "", {}},
             Case{"genre", "Folk", {{"genre", "Folk"}}}, // compared with the year
             Case{"genre", "", {}},
         }) {
        SCOPED_TRACE(key + (" " + typed.toStdString()));
        reports.clear();
        enter(key, typed);
        EXPECT_EQ(reports, report.isEmpty() ? QList<QVariantMap>() : QList<QVariantMap>{report});
    }
    EXPECT_EQ(song->artist(), "坂本 😀 Ömer");
    EXPECT_EQ(song->year(), "");
}

TEST_F(TagEditor, PutsTheOldValueBackAndIsLeftByEscape) {
    editor.setSongItem(song);
    field("title").setFocus();
    type(field("title"), "new ");
    EXPECT_EQ(field("title").text(), "new Glass Hill");
    press(field("title"), Qt::Key_Escape);
    EXPECT_EQ(field("title").text(), "Glass Hill");
    EXPECT_EQ(timesLeft, 0);
    press(field("title"), Qt::Key_Escape);
    EXPECT_EQ(timesLeft, 1);
    EXPECT_TRUE(reports.isEmpty());
}

TEST_F(TagEditor, GivesWhatWasTypedToTheTrackItWasTypedFor) {
    editor.setSongItem(song);
    type(field("title"), "At ");
    const auto other = std::make_shared<SongItem>();
    editor.setSongItem(other);
    EXPECT_EQ(song->title(), "At Glass Hill");
    EXPECT_EQ(other->title(), "Unknown Title");
    EXPECT_EQ(field("title").text(), "Unknown Title");
    ASSERT_EQ(reports.size(), 1);
}

TEST_F(TagEditor, IsOffWhileSomebodyIdentifiesTheTrack) {
    song->setSize(8'900'000);
    song->setBiteRate(320'999);
    song->setSampleRate(44'100);
    const QStringList values{"8.9 MB", "320 kbps", "44.100 kHZ"};
    for (int status = 0; status <= 6; ++status) {
        SCOPED_TRACE(status);
        song->setGetID3Status(status);
        editor.setSongItem(song);
        const bool isOn = status == 0 || status == 3 || status == 6;
        EXPECT_EQ(editor.isEditable(), isOn);
        EXPECT_EQ(field("genre").isReadOnly(), !isOn);
        EXPECT_EQ(editor.box("genre")->isEditable(), isOn);
        EXPECT_EQ(drop(picture("cover.png")), false); // on the cell for no cover
        EXPECT_EQ(QStringList({editor.valueLabel("size")->text(), editor.valueLabel("bitrate")->text(),
                               editor.valueLabel("samplerate")->text()}),
                  values);
    }
    editor.setSongItem(nullptr);
    EXPECT_FALSE(editor.isEditable());
    EXPECT_FALSE(field("title").isVisible());
    EXPECT_EQ(editor.properties().value("size"), "8.9 MB"); // only the container changes
}

TEST_F(TagEditor, StepsThroughTheCovers) {
    song->setCoverImages({picture("1.png"), picture("2.png")});
    struct Case {
        bool hasLocal;
        int steps;
        int index;
        const char *buttons;
        qsizetype reports;
    };
    for (const auto &[hasLocal, steps, index, shown, reported] :
         {Case{false, 0, -1, "r", 0}, Case{false, 1, 0, "lr", 1}, Case{false, 2, 1, "lr", 2},
          Case{false, 3, 1, "l", 2}, // the cell for adding one is no choice
          Case{false, 4, 1, "l", 2}, Case{true, 2, 1, "l", 2}, Case{true, 3, 1, "l", 2}}) {
        SCOPED_TRACE(testing::Message() << hasLocal << steps);
        reports.clear();
        song->setIsHasLocalCover(hasLocal);
        song->setCoverImageIndex(-1);
        editor.setSongItem(song);
        for (int i = 0; i < steps; ++i)
            press(*editor.imageBrowser(), Qt::Key_Right);
        EXPECT_EQ(song->coverImageIndex(), index);
        EXPECT_EQ(buttons(), shown);
        EXPECT_EQ(reports.size(), reported);
    }
    editor.leftButtonClicked();
    EXPECT_EQ(song->coverImageIndex(), 0);
    EXPECT_EQ(reports.last(), QVariantMap({{"coverindex", 0}}));
}

TEST_F(TagEditor, TakesADroppedCoverOnTheLastCellOnly) {
    const QString fetched = picture("fetched.png");
    song->setCoverImages({fetched});
    song->setCoverImageIndex(0);
    editor.setSongItem(song);
    EXPECT_FALSE(drop(picture("own.png")));
    editor.rightButtonClicked();
    EXPECT_TRUE(drop(picture("own.png")));
    ASSERT_EQ(song->coverImages().size(), 2);
    const QString first = song->coverImages().at(1);
    EXPECT_TRUE(song->isHasLocalCover());
    EXPECT_EQ(reports.last(), QVariantMap({{"coverindex", 1}, {"cover", QStringList{fetched, first}}}));
    EXPECT_TRUE(drop(picture("other.png")));
    ASSERT_EQ(song->coverImages().size(), 2);
    EXPECT_NE(song->coverImages().at(1), first);
    EXPECT_EQ(song->coverImages().at(0), fetched);
}

TEST_F(TagEditor, TakesAPastedPictureFromAnyCell) {
    editor.setSongItem(song);
    QImage image(900, 300, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QApplication::clipboard()->setImage(image);
    QKeyEvent paste(QEvent::KeyPress, Qt::Key_V, Qt::ControlModifier);
    QApplication::sendEvent(editor.imageBrowser(), &paste);
    ASSERT_EQ(song->coverImages().size(), 1);
    EXPECT_EQ(QImage(song->coverImages().at(0)).size(), QSize(600, 200));
    QApplication::clipboard()->setText("no picture");
    QApplication::sendEvent(editor.imageBrowser(), &paste);
    EXPECT_EQ(song->coverImages().size(), 1);
    EXPECT_EQ(refusals.size(), 1);
    EXPECT_EQ(editor.imageBrowser()->visibleItemIndex(), 1);
}

TEST_F(TagEditor, RefusesWhatCanBeNoCoverAndSaysWhy) {
    const QString pipe = inHome("pipe.png");
    ASSERT_EQ(mkfifo(pipe.toUtf8().constData(), 0600), 0);
    const QByteArray bmp("BM\x36\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\0\0\0\0\0\0\0\0\1\0\x18\0", 30);
    QByteArray broken = promisingPng(10, 10);
    editor.setSongItem(song);
    editor.rightButtonClicked();
    ASSERT_TRUE(editor.imageBrowser()->isLastObjectIndex());
    for (const QString &path :
         {pipe, inHome("missing.png"), QDir::homePath(), QString("/dev/zero"), bytesFile("text.png", "no picture"),
          bytesFile("empty.jpg", ""), bytesFile("zero.bmp", bmp + QByteArray(30, '\0')),
          bytesFile("bomb.png", promisingPng(60'000, 60'000)), bytesFile("broken.png", broken),
          bytesFile("drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>")}) {
        SCOPED_TRACE(path.toStdString());
        refusals.clear();
        EXPECT_FALSE(drop(path));
        EXPECT_EQ(refusals.size(), 1);
        EXPECT_TRUE(song->coverImages().isEmpty());
        EXPECT_FALSE(song->isHasLocalCover());
    }
    EXPECT_TRUE(reports.isEmpty());
    EXPECT_EQ(editor.imageBrowser()->shownImagePath(1), "SelectCoverPictureHighlight.png");
}

TEST(ThumbnailComposer, KeepsTheProportions) {
    struct Case {
        QSize size;
        QSize copy;
        const char *format;
    };
    for (const auto &[size, copy, format] :
         {Case{{300, 200}, {300, 200}, "png"}, Case{{1200, 600}, {600, 300}, "jpg"},
          Case{{500, 1000}, {300, 600}, "bmp"}, Case{{1500, 1}, {600, 1}, "png"}, Case{{600, 600}, {600, 600}, "tiff"},
          Case{{601, 601}, {600, 600}, "webp"}}) {
        SCOPED_TRACE(format);
        const QString path = ThumbnailComposer::prepareThumbnailWithImage(picture("p", size, format), {600, 600});
        EXPECT_EQ(QImage(path).size(), copy);
    }
    // Four colours of print.
    const QString print = inHome("print.jpg");
    ASSERT_EQ(system(("convert -size 40x30 xc:red -colorspace CMYK " + print.toStdString()).c_str()), 0);
    const QString moving = inHome("moving.gif");
    ASSERT_EQ(system(("convert -size 40x30 xc:red xc:blue -loop 0 " + moving.toStdString()).c_str()), 0);
    for (const QString &path : {print, moving}) {
        const QImage copy(ThumbnailComposer::prepareThumbnailWithImage(path, {600, 600}));
        EXPECT_EQ(copy.size(), QSize(40, 30));
        EXPECT_GT(copy.pixelColor(5, 5).red(), 180);
    }
}
