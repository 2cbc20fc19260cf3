// Keys and mouse as a widget gets them.
#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>
#include <QWidget>
#include <stdexcept>

inline void press(QWidget &widget, int key, Qt::KeyboardModifiers modifiers = {}, const QString &text = {}) {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers, text);
        QApplication::sendEvent(&widget, &event);
    }
}

/// The left button, unless the pointer only moves; `held` is what is down meanwhile.
inline void mouse(QWidget &widget, QEvent::Type type, const QPointF &at, Qt::MouseButtons held = Qt::LeftButton,
                  Qt::KeyboardModifiers modifiers = {}) {
    QMouseEvent event(type, at, widget.mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : held, modifiers);
    QApplication::sendEvent(&widget, &event);
}

inline void click(QWidget &widget, const QPointF &at, Qt::KeyboardModifiers modifiers = {}) {
    mouse(widget, QEvent::MouseButtonPress, at, Qt::LeftButton, modifiers);
    mouse(widget, QEvent::MouseButtonRelease, at, Qt::LeftButton, modifiers);
}

inline void doubleClick(QWidget &widget, const QPointF &at) {
    click(widget, at);
    mouse(widget, QEvent::MouseButtonDblClick, at);
}

inline QPushButton &buttonOf(const QWidget &window, const QString &title) {
    for (auto *button : window.findChildren<QPushButton *>())
        if (button->text() == title)
            return *button;
    throw std::runtime_error("no button " + title.toStdString());
}
