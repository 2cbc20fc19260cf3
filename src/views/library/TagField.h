// A line of text that is edited in the tag editor.
//
// Threads: main.
#pragma once

#include "views/library/TagFormatters.h"

#include <QLineEdit>
#include <memory>

/// Enter ends the editing, Escape takes it back; where there is nothing to take back, Escape leaves the field.
class TagField : public QLineEdit {
    Q_OBJECT
public:
    explicit TagField(std::unique_ptr<NSStringFormatter> formatter);
    ~TagField() override;

    /// The value that Escape goes back to. Where it is shown already, cursor and undo stay as they are.
    void setValue(const QString &value);
    /// Empty, and with nothing to undo.
    void startOver();
    /// The user has changed the text since setValue().
    bool isChanged() const { return text() != value_; }

signals:
    /// Enter, or the keyboard goes elsewhere in the window; changed or not, which editingFinished() of some versions of
    /// Qt makes a difference.
    void ended();
    void left();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    class Guard;
    void remember();

    std::unique_ptr<NSStringFormatter> formatter_;
    QString value_;
    QString formerText_; // as it was before the edit under way
    TextRange formerSelection_;
    bool isSetting_ = false; // what a file says may be longer than what may be typed
};
