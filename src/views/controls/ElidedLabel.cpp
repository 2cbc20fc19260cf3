#include "views/controls/ElidedLabel.h"

#include <QPainter>

namespace {

constexpr qsizetype kLongest = 500; // characters: more than the widest window shows

} // namespace

ElidedLabel::ElidedLabel(const QFont &font, QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setFont(font);
}

void ElidedLabel::setStringValue(const QString &stringValue) {
    QString line = stringValue.left(kLongest);
    for (QChar &character : line) {
        if (character.category() == QChar::Other_Control)
            character = u' ';
    }
    if (line == text())
        return;
    setText(line);
    shorten();
}

void ElidedLabel::shorten() {
    shownText_ = fontMetrics().elidedText(text(), Qt::ElideRight, width());
    // A tool tip takes what looks like HTML for HTML, so it is given some.
    setToolTip(shownText_ == text() ? QString() : QStringLiteral("<span>%1</span>").arg(text().toHtmlEscaped()));
    update();
}

void ElidedLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setLayoutDirection(layoutDirection());
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(rect(), static_cast<int>(alignment()), shownText_);
}

void ElidedLabel::resizeEvent(QResizeEvent *event) {
    shorten();
    QLabel::resizeEvent(event);
}
