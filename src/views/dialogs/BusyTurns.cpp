#include "views/dialogs/BusyTurns.h"

#include "views/dialogs/ProgressSheet.h"

#include <QApplication>

namespace {

constexpr qint64 kTimeToSheet = 300; // ms, as everything that may be over in a moment
constexpr qint64 kTurn = 20;         // ms

} // namespace

BusyTurns::BusyTurns(QWidget *window, const QString &message, qsizetype count)
    : window_(window), message_(message), count_(count) {
    start_.start();
    turn_.start();
}

BusyTurns::~BusyTurns() { delete sheet_.data(); }

void BusyTurns::next(qsizetype count) {
    done_ += count;
    if (turn_.elapsed() < kTurn)
        return;
    if (!sheet_ && start_.elapsed() >= kTimeToSheet)
        showSheet();
    if (sheet_)
        sheet_->setProgressCurrentValue(static_cast<int>(done_));
    QCoreApplication::processEvents(sheet_ ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
    turn_.restart();
}

void BusyTurns::showSheet() {
    QWidget *blocking = QApplication::activeModalWidget();
    sheet_ = new ProgressSheet(blocking ? blocking : window_, message_);
    sheet_->setMessage(message_);
    sheet_->setProgressMinValue(0);
    sheet_->setProgressMaxValue(static_cast<int>(count_));
    sheet_->show();
}
