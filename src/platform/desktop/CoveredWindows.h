// Tells which windows lie wholly under others. Only a desktop without a compositor says so (on others a window that
// nobody sees may still be looked at in a preview); everywhere else no window is ever covered.
//
// Threads: main.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QSet>
#include <QWindow>

class CoveredWindows : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    static CoveredWindows &shared();

    /// Wants to hear of `window`, which has been created, from now on.
    void watch(const QWindow &window);
    bool isCovered(const QWindow &window) const { return covered_.contains(window.winId()); }

signals:
    void changed();

private:
    explicit CoveredWindows(QObject *parent);
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

    QSet<WId> covered_;
};
