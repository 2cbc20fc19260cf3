// The page that shows a recording: the scene with the microphone above, the tracks of this run below.
//
// Threads: main.
#pragma once

#include <QPointer>
#include <QWidget>

class QLabel;

/// What the page tells its user to do, or what is going on.
enum class RecordingPageState { Idle, Waiting, Recording };

class RecordingPage : public QWidget {
    Q_OBJECT
public:
    static constexpr QSize kSize{900, 501};
    static constexpr int kStripHeight = 131;

    explicit RecordingPage(QWidget *parent);

    /// The sentence under the microphone: what to do while the program idles and has no track yet, and what happens
    /// while it waits or records.
    void setState(RecordingPageState state);
    /// The sentence shown; empty while the page idles and has tracks.
    QString sentence() const;

    /// The host of the scene, 900 x 370. What is put into it with setScene() fills it.
    void setScene(QWidget &scene);
    QWidget *animationViewBox() const { return animationViewBox_; }
    /// The host of the tracks of this run, 900 x 131.
    QWidget *flowViewBox() const { return flowViewBox_; }
    /// What is put into the strip fills it.
    void setFlowView(QWidget &flowView);
    /// Whether a track was recorded in this run.
    void setHasTracks(bool hasTracks);
    /// The empty place at the top edge for the format strip, 240 x 28.
    QWidget *formatStripPlace() const { return formatStripPlace_; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void updateSentence();

    RecordingPageState state_ = RecordingPageState::Idle;
    QPointer<QWidget> scene_;
    QLabel *lblSentence_; // below the scene: a cover passes over it
    QWidget *animationViewBox_;
    QWidget *formatStripPlace_;
    QWidget *flowViewBox_;
    bool hasTracks_ = false;
};
