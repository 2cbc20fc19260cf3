#include "views/library/TagField.h"

#include "views/controls/Look.h"

#include <QKeyEvent>
#include <QValidator>

// Asks the formatter about every edit.
class TagField::Guard : public QValidator {
public:
    explicit Guard(TagField &field) : QValidator(&field), field_(field) {}

    State validate(QString &input, int &pos) const override {
        if (field_.isSetting_ || input == field_.formerText_ || input == field_.value_)
            return Acceptable;
        QString edited = input;
        TextRange selection{pos, 0};
        if (field_.formatter_->isPartialStringValid(edited, selection, field_.formerText_, field_.formerSelection_))
            return Acceptable;
        if (edited == input || edited == field_.formerText_)
            return Invalid;
        input = edited;
        pos = static_cast<int>(selection.location);
        return Acceptable;
    }

private:
    TagField &field_;
};

TagField::TagField(std::unique_ptr<NSStringFormatter> formatter) : formatter_(std::move(formatter)) {
    setValidator(new Guard(*this));
    // The frame is drawn under the text.
    QPalette clear;
    clear.setColor(QPalette::Base, Qt::transparent);
    setPalette(clear);
    // The signals come when an edit is over, so what is remembered is the state before the next one.
    connect(this, &QLineEdit::selectionChanged, this, &TagField::remember);
    connect(this, &QLineEdit::cursorPositionChanged, this, &TagField::remember);
    connect(this, &QLineEdit::textChanged, this, &TagField::remember);
    connect(this, &QLineEdit::returnPressed, this, &TagField::ended);
}

TagField::~TagField() = default;

void TagField::remember() {
    formerText_ = text();
    formerSelection_ =
        hasSelectedText() ? TextRange{selectionStart(), selectionLength()} : TextRange{cursorPosition(), 0};
}

void TagField::setValue(const QString &value) {
    value_ = value;
    if (text() == value)
        return;
    isSetting_ = true;
    setText(value);
    isSetting_ = false;
    if (!hasFocus())
        setCursorPosition(0); // the beginning of a long text says more than its end
}

void TagField::startOver() {
    value_.clear();
    isSetting_ = true;
    clear();
    isSetting_ = false;
}

void TagField::focusOutEvent(QFocusEvent *event) {
    QLineEdit::focusOutEvent(event);
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason)
        emit ended();
}

void TagField::keyPressEvent(QKeyEvent *event) {
    if (event->key() != Qt::Key_Escape) {
        QLineEdit::keyPressEvent(event);
    } else if (isChanged()) {
        setValue(value_);
        selectAll();
    } else {
        emit left();
    }
}
