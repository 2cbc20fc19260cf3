// What moves on the recording page: that it moves when it shall, ends what it began, and rests while nobody looks.
#include "support/KeptLog.h"
#include "support/MadePictures.h"
#include "views/controls/Look.h"
#include "views/recording/CoverView.h"
#include "views/recording/MicrophoneView.h"
#include "views/recording/NoteView.h"
#include "views/recording/RecordAnimationCtr.h"
#include "views/recording/SceneArtwork.h"
#include "views/window/ReadyStatusPanel.h"

#include <QSet>
#include <gtest/gtest.h>

namespace {

struct SceneTest : testing::Test {
    /// What was logged since the last question.
    QStringList logged() { return std::exchange<QStringList>(log, {}); }

    KeptLog log;
};

/// Of the view, and of the scene around it.
struct CoverDelegate final : CoverViewDelegate, RecordAnimationCtrDelegate {
    QStringList events;
    void animationDidStart() override { events << "start"; }
    void animationDidStop(bool finished) override { events << (finished ? "finished" : "cut short"); }
};

} // namespace

TEST(SceneArtwork, EveryDrawingIsOneOfItsOwnAtEveryScaleLightAndDark) {
    QStringList names = {"cloud", "empty", "fill"};
    for (const auto &[format, first, count] :
         {std::tuple{"00100%1.png", 0, 36}, {"00200%1.png", 50, 21}, {"00300%1.png", 0, 12}})
        for (int i = first; i < first + count; ++i)
            names << QString(format).arg(i, 2, 10, QChar('0'));
    for (int i = 1; i <= 6; ++i)
        names << QStringLiteral("Note%1.png").arg(i);
    EXPECT_EQ(names.size(), 36 + 21 + 12 + 6 + 3);
    QList<QImage> seen;
    for (const Appearance appearance : {Appearance::Light, Appearance::Dark}) {
        Look::shared().setAppearance(appearance);
        for (const qreal scale : {1.0, 1.25, 3.0}) {
            for (const QString &name : names) {
                SCOPED_TRACE(name.toStdString());
                const QPixmap pixmap = sceneImage(name, scale);
                EXPECT_EQ(pixmap.deviceIndependentSize().toSize(), sceneImage(name, 1).size());
                const QImage image = pixmap.toImage();
                QImage nothing(image.size(), image.format());
                nothing.fill(Qt::transparent);
                EXPECT_FALSE(image == nothing || seen.contains(image));
                seen << image;
            }
        }
    }
    for (const char *name : {"0010036.png", "0020049.png", "0020071.png", "0030012.png", "Note0.png", "Note7.png", ""})
        EXPECT_TRUE(!isSceneImage(name) && sceneImage(name, 1).isNull()) << name;
}

TEST_F(SceneTest, TheMicrophoneBreathesUntilTheCycleBehindAStopEnds) {
    MicrophoneView view(/*parent=*/nullptr);
    view.show();
    view.startAnimation();
    view.startAnimation(); // adds nothing
    QSet<int> frames;
    for (int ms = 1000; ms < 3400; ms += 30) {
        view.tick(ms);
        EXPECT_EQ(view.frame(), (ms - 1000) * 36 / 2400);
        frames << view.frame();
    }
    EXPECT_EQ(frames.size(), 36);
    view.tick(3500); // the next cycle, begun where the first one ended
    EXPECT_EQ(view.frame(), 1);
    view.stopAnimation();
    view.startAnimation(); // goes on without a break
    view.tick(5900);
    EXPECT_TRUE(view.isAnimating());
    view.stopAnimation();
    view.tick(8199);
    EXPECT_TRUE(view.isAnimating());
    EXPECT_TRUE(logged().isEmpty());
    view.tick(8200);
    EXPECT_FALSE(view.isAnimating());
    EXPECT_EQ(view.frame(), 0);
    EXPECT_EQ(logged(), QStringList("MicrophoneView stopAnimation"));
    EXPECT_FALSE(SceneClock::shared().isTicking());
}

TEST_F(SceneTest, NothingTicksOutOfSight) {
    QWidget window;
    MicrophoneView microphone(&window);
    ProgressView wheel(&window);
    NoteView notes(&window);
    notes.resize(800, 345);
    ReadyStatusPanel clock(&window);
    microphone.startAnimation();
    wheel.startAnimation();
    notes.startAnimation();
    clock.setShakeEffect(true);
    for (const bool isShown : {false, true, false}) {
        window.setVisible(isShown);
        EXPECT_EQ(SceneClock::shared().isTicking(), isShown);
        EXPECT_EQ(clock.isBlinking(), isShown);
        EXPECT_EQ(notes.notesInSight(), isShown ? 12 : 0);
    }
    // A stop that nobody sees takes no time.
    log.clear();
    microphone.stopAnimation();
    wheel.stopAnimation();
    notes.stopAnimation();
    EXPECT_FALSE(microphone.isAnimating() || wheel.isAnimating());
    EXPECT_EQ(logged(),
              QStringList({"MicrophoneView stopAnimation", "MicrophoneView stopAnimation", "NoteView stopAnimation"}));
    window.show();
    EXPECT_FALSE(SceneClock::shared().isTicking());
}

TEST_F(SceneTest, TheCoverComesOnceAndTells) {
    CoverDelegate delegate;
    CoverView view(/*parent=*/nullptr);
    view.setDelegate(&delegate);
    view.show();
    view.startAnimation();
    view.startAnimation();
    view.stopAnimation(); // ends by itself
    view.tick(10);
    view.tick(1509);
    EXPECT_EQ(view.frame(), 20);
    EXPECT_EQ(delegate.events, QStringList("start"));
    view.tick(1510);
    EXPECT_FALSE(view.isAnimating());
    EXPECT_EQ(delegate.events, QStringList({"start", "finished"}));
    view.startAnimation();
    view.tick(2000);
    const qint64 drawn = view.lastFrame().cacheKey();
    view.hide();
    EXPECT_NE(view.lastFrame().cacheKey(), drawn) << "keeps its pictures";
    view.startAnimation();
    EXPECT_FALSE(view.isAnimating());
    EXPECT_EQ(delegate.events.mid(2), QStringList({"start", "cut short", "start", "cut short"}));
}

TEST_F(SceneTest, NotesFlyOutOfTheMiddleUntilTheyAreStopped) {
    NoteView view(/*parent=*/nullptr);
    view.resize(800, 345);
    view.show();
    view.startAnimation();
    view.startAnimation();
    EXPECT_EQ(logged(), QStringList("NoteView startAnimation"));
    for (int ms = 0; ms < 6000; ms += 33) {
        view.tick(ms);
        ASSERT_EQ(view.notesInSight(), 12);
    }
    view.stopAnimation();
    EXPECT_EQ(logged(), QStringList("NoteView stopAnimation"));
    EXPECT_EQ(view.notesInSight(), 12); // those in the air fly on
    view.tick(6000);                    // one that rose with the last tick has its start only now
    view.tick(6000 + 1500);
    EXPECT_EQ(view.notesInSight(), 0);
    EXPECT_FALSE(SceneClock::shared().isTicking());
}

TEST_F(SceneTest, WhatMovesChangesFromLightToDarkAtOnce) {
    RecordAnimationCtr &scene = RecordAnimationCtr::recordAnimation();
    scene.view()->show();
    scene.startNoteAnimation();
    scene.startCoverAnimation();
    scene.noteView()->tick(0);
    scene.coverView()->tick(0);
    scene.coverView()->tick(1500);
    for (const Appearance appearance : {Appearance::Light, Appearance::Dark}) {
        Look::shared().setAppearance(appearance);
        EXPECT_TRUE(opaqueColours(scene.noteView()->grab()).contains(lookColour(LookColour::Teal).rgb()));
        EXPECT_TRUE(opaqueColours(scene.imageView()->grab()).contains(lookColour(LookColour::Paper2).rgb()));
    }
}

TEST(NoteView, TargetsLieWithinTheViewAndNotInItsMiddle) {
    NoteView view(/*parent=*/nullptr);
    constexpr QSizeF kImage(60, 60);
    for (const QSize size : {QSize(800, 345), QSize(300, 200), QSize(241, 700)}) {
        view.resize(size);
        QRectF middle(QPointF(), kImage);
        middle.moveCenter(QRectF(view.rect()).center());
        for (int i = 0; i < 1000; ++i) {
            const QPointF target = view.CGRandomTarget(kImage);
            ASSERT_TRUE(QRectF(view.rect()).adjusted(30, 30, -30, -30).contains(target));
            ASSERT_FALSE(middle.contains(target));
        }
    }
    for (const QSize tooSmall : {QSize(60, 60), QSize(0, 0), QSize(100, 100)}) {
        view.resize(tooSmall);
        EXPECT_TRUE(view.CGRandomTarget(kImage).isNull());
    }
}

TEST_F(SceneTest, TheSceneHandsTheCoverOverToTheStrip) {
    CoverDelegate delegate;
    RecordAnimationCtr &scene = RecordAnimationCtr::recordAnimation();
    EXPECT_EQ(&scene, &RecordAnimationCtr::recordAnimation());
    scene.setDelegate(&delegate);
    QWidget *view = scene.view();
    view->show();
    view->resize(900, 355);
    scene.startCoverAnimation();
    scene.stopCoverAnimation();
    scene.coverView()->tick(0);
    scene.coverView()->tick(1500);
    EXPECT_EQ(delegate.events, QStringList({"start", "finished"}));
    EXPECT_EQ(scene.imageView()->geometry(), scene.coverView()->geometry());
    int y = 135;
    for (int ms = 0; ms < 750; ms += 33) {
        scene.tick(ms);
        EXPECT_TRUE(scene.imageView()->isVisible());
        EXPECT_GE(scene.imageView()->y(), y);
        y = scene.imageView()->y();
    }
    EXPECT_GT(y, 300);
    scene.tick(750);
    EXPECT_TRUE(scene.imageView()->isHidden());
    EXPECT_EQ(scene.imageView()->geometry(), scene.coverView()->geometry());
    EXPECT_FALSE(SceneClock::shared().isTicking());

    scene.startCoverAnimation();
    scene.coverView()->tick(0);
    scene.coverView()->tick(1500);
    view->hide(); // nobody sees it slide
    EXPECT_TRUE(scene.imageView()->isHidden());
    EXPECT_FALSE(SceneClock::shared().isTicking());
    delete view;
    EXPECT_NE(RecordAnimationCtr::recordAnimation().view(), nullptr); // another
}

TEST(ReadyStatusPanel, BlinksBehindTheColonWhileItShakes) {
    ReadyStatusPanel panel(/*parent=*/nullptr);
    panel.resize(106, 26);
    panel.show();
    const auto shown = [&] { return panel.grab().toImage(); };
    panel.setStringValue("00:00  ");
    const QImage zero = shown();
    panel.setStringValue("12:34  ");
    EXPECT_NE(shown(), zero);
    panel.setShakeEffect(true);
    EXPECT_EQ(shown(), zero) << "whatever its value";
    panel.readyCaptionShake();
    const QImage out = shown();
    EXPECT_NE(out, zero);
    panel.setStringValue("00:  ");
    panel.setShakeEffect(false);
    EXPECT_EQ(shown(), out);
    EXPECT_FALSE(panel.isBlinking());
}
