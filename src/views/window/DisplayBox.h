// The sketched box in the toolbar that shows what happens: a recording with status, clock and spectrum, or what plays.
//
// Threads: main.
#pragma once

#include <QWidget>

class PlayPanel;
class QLabel;
class ReadyStatusPanel;
class SpectrumView;

enum class StatusColour { Black, Red };

class DisplayBox : public QWidget {
    Q_OBJECT
public:
    explicit DisplayBox(QWidget *parent);

    /// The name of the frame's drawing; "BoxBackground_logo" from the start.
    void setBackgroundImage(const QString &name);

    /// The status in words. Black stands for the colour of text. Cheap when nothing changes.
    void setStatus(const QString &status, StatusColour colour);
    QString status() const;

    /// Frames the box and shows what plays, or what a recording shows; from the start it shows neither.
    void showPlayPanel(bool isShown);
    PlayPanel *playPanel() const { return playPanel_; }

    /// What a recording shows in the box: status, clock and spectrum. It can be hidden or taken out as one.
    QWidget *recordSpectrum() const { return recordSpectrum_; }
    ReadyStatusPanel *lblRecordTime() const { return lblRecordTime_; }
    SpectrumView *spectrumView() const { return spectrumView_; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void dressStatus();

    QString backgroundImage_ = QStringLiteral("BoxBackground_logo");
    StatusColour statusColour_ = StatusColour::Black;
    QWidget *recordSpectrum_;
    QLabel *lblRecordStatus_;
    ReadyStatusPanel *lblRecordTime_;
    SpectrumView *spectrumView_;
    PlayPanel *playPanel_;
};
