// The program's look: colours, fonts, and the choice between light and dark.
//
// Threads: main.
#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QPointer>
#include <QWidget>

class DesktopSettings;

enum class LookColour {
    Paper,  ///< pages
    Paper2, ///< toolbar, bars, headers
    Sheet,  ///< fields, boxes, buttons
    Ink,    ///< text, strokes
    Soft,   ///< second lines, units
    Line,   ///< rules, quiet frames, what is disabled
    Teal,   ///< selection, progress, focus
    Red,    ///< recording, missing, destructive
    RedText ///< small letters in red: lighter than Red where that would be hard to read on a sheet
};

enum class Appearance { FollowDesktop, Light, Dark };

/// There is one per program, made with the first question. It follows the desktop until it is told otherwise.
class Look : public QObject {
    Q_OBJECT
public:
    static Look &shared();

    QColor colour(LookColour colour) const;
    bool isDark() const { return isDark_; }
    /// Whether the user wants no motion on the screen.
    bool isMotionReduced() const { return isMotionReduced_; }

    /// Light or dark whatever the desktop says, or following it again.
    void setAppearance(Appearance appearance);

    /// Gives `window` and everything in it the look's palette, now and at every change.
    void dress(QWidget &window);

signals:
    /// Light became dark or the reverse, or the wish for motion changed. Dressed windows repaint by themselves.
    void changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    explicit Look(QObject *parent);
    void refresh();
    void apply();
    QPalette palette() const;

    DesktopSettings *desktopSettings_;
    Appearance appearance_ = Appearance::FollowDesktop;
    bool isDark_ = false;
    bool isMotionReduced_ = false;
    QList<QPointer<QWidget>> windows_;
};

/// The colour of the appearance shown now.
QColor lookColour(LookColour colour);

inline constexpr int kClockPixels = 22;
inline constexpr int kStatusPixels = 13; // the word beside the clock, and what an empty page says
inline constexpr int kListPixels = 12;
inline constexpr int kSecondLinePixels = 11;

/// The desktop's own font in `pixels`.
QFont lookFont(int pixels, QFont::Weight weight = QFont::Normal);
