// Tells whether a widget can be seen: so that what moves costs nothing while nobody looks.
//
// Threads: main.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWindow>

class QWidget;

/// A member of its widget: it goes before the widget hides at its end.
class SightWatch : public QObject {
    Q_OBJECT
public:
    explicit SightWatch(QWidget &widget);

    /// The widget is shown, its window neither minimised nor, where the desktop says so, covered.
    bool isInSight() const { return isInSight_; }
    /// In sight, and the user wants motion.
    bool mayMove() const;

signals:
    /// isInSight() or mayMove() may have another answer now.
    void changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void watchWindow();
    void refresh();

    QWidget &widget_;
    QPointer<QWindow> window_;
    bool isShown_;
    bool isExposed_ = true;
    bool isInSight_;
};
