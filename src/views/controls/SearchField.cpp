#include "views/controls/SearchField.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchButton.h"

#include <QKeyEvent>
#include <QPainter>

namespace {

constexpr int kGlassLeft = 8;
constexpr QSize kGlassSize(14, 14);
constexpr QSize kCrossSize(12, 12);
constexpr int kTextLeft = kGlassLeft + 14 + 2;
constexpr int kCrossRoom = 16;

} // namespace

SearchField::SearchField(QWidget *parent)
    : QLineEdit(parent),
      clearBtn_(new SketchButton({.rest = QStringLiteral("search-clear"), .hover = {}, .pressed = {}, .disabled = {}},
                                 kCrossSize, localizedString("Clear the search"), this)) {
    setFrame(false);
    setFont(lookFont(kSecondLinePixels));
    setPlaceholderText(localizedString("Search"));
    setAccessibleName(localizedString("Search"));
    setTextMargins(kTextLeft, 0, 0, 0);
    // The frame is drawn under the text.
    QPalette clear;
    clear.setColor(QPalette::Base, Qt::transparent);
    setPalette(clear);
    clearBtn_->setFocusPolicy(Qt::NoFocus); // the keyboard has Escape
    clearBtn_->setCursor(Qt::ArrowCursor);
    clearBtn_->hide();
    connect(clearBtn_, &SketchButton::clicked, this, &QLineEdit::clear);
    connect(this, &QLineEdit::textChanged, clearBtn_,
            [this](const QString &text) { clearBtn_->setVisible(!text.isEmpty()); });
}

void SearchField::paintEvent(QPaintEvent *event) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool isStrong = hasFocus() || underMouse();
    painter.setPen(sketchPen(lookColour(hasFocus()     ? LookColour::Teal
                                        : underMouse() ? LookColour::Soft
                                                       : LookColour::Line),
                             isStrong ? kStrokeWidth : 1.2));
    painter.setBrush(lookColour(LookColour::Sheet));
    painter.drawPath(sketchedRect(QRectF(rect()).adjusted(1, 1, -1, -1), height() / 2.0));
    painter.drawPixmap(kGlassLeft, (height() - kGlassSize.height()) / 2,
                       imageNamed(QStringLiteral("search"), kGlassSize, devicePixelRatioF()));
    painter.end();
    QLineEdit::paintEvent(event);
}

void SearchField::resizeEvent(QResizeEvent *event) {
    clearBtn_->move(width() - clearBtn_->width() - 1, (height() - clearBtn_->height()) / 2);
    QLineEdit::resizeEvent(event);
}

void SearchField::keyPressEvent(QKeyEvent *event) {
    if (event->key() == Qt::Key_Escape && !text().isEmpty())
        clear();
    else
        QLineEdit::keyPressEvent(event);
}

bool SearchField::event(QEvent *event) {
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave)
        update();
    return QLineEdit::event(event);
}
