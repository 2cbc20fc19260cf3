#include "platform/run/Predicate.h"

#include "platform/run/FoldedText.h"

#include <algorithm>
#include <compare>

// Recursive descent. The first failure stays and ends everything.
class PredicateParser {
public:
    explicit PredicateParser(QStringView text) : text_(text) {}

    std::optional<Predicate> parse(PredicateError *error) {
        Predicate predicate;
        predicate.root_ = disjunction();
        if (!error_ && !isAtEnd())
            fail(u"\"and\", \"or\" or the end");
        if (!error_) {
            predicate.keys_ = keys_;
            return predicate;
        }
        if (error)
            *error = *error_;
        return std::nullopt;
    }

private:
    using Node = Predicate::Node;
    using Operator = Predicate::Operator;

    static constexpr int kMaximumDepth = 100;

    void fail(QStringView expected) { fail("expected " + expected.toString(), at_); }
    void fail(const QString &message, qsizetype position) {
        if (!error_)
            error_ = PredicateError{position, message};
    }

    static bool isWordCharacter(QChar character) {
        const char16_t unit = character.unicode();
        return unit == '_' || (unit < 0x80 && character.isLetterOrNumber());
    }

    void skipBlanks() {
        while (at_ < text_.size() && text_[at_].isSpace())
            ++at_;
    }
    bool isAtEnd() {
        skipBlanks();
        return at_ == text_.size();
    }
    // The word at this place, which stays; empty if there is none.
    QStringView word() {
        skipBlanks();
        const auto rest = text_.sliced(at_);
        return rest.first(std::find_if_not(rest.begin(), rest.end(), isWordCharacter) - rest.begin());
    }
    bool takeWord(QStringView wanted) {
        const QStringView found = word();
        const bool isFound = found.compare(wanted, Qt::CaseInsensitive) == 0;
        if (isFound)
            at_ += found.size();
        return isFound;
    }
    bool takeSign(QStringView sign) {
        skipBlanks();
        const bool isFound = text_.sliced(at_).startsWith(sign, Qt::CaseInsensitive);
        if (isFound)
            at_ += sign.size();
        return isFound;
    }

    static Node joined(bool isAnd, std::vector<Node> parts) {
        return parts.size() == 1 ? std::move(parts.front()) : Node{isAnd, std::move(parts), {}};
    }
    Node disjunction() {
        std::vector<Node> parts;
        do
            parts.push_back(conjunction());
        while (!error_ && (takeWord(u"or") || takeSign(u"||")));
        return joined(/*isAnd=*/false, std::move(parts));
    }
    Node conjunction() {
        std::vector<Node> parts;
        do
            parts.push_back(primary());
        while (!error_ && takeWord(u"and"));
        return joined(/*isAnd=*/true, std::move(parts));
    }
    Node primary() {
        if (!takeSign(u"("))
            return comparison();
        if (++depth_ > kMaximumDepth) {
            fail("too many parentheses", at_);
            return {};
        }
        Node inner = disjunction();
        if (!error_ && !takeSign(u")"))
            fail(u"\")\"");
        --depth_;
        return inner;
    }

    Node comparison() {
        Node node;
        Predicate::Comparison &result = node.comparison;
        result.key = key();
        if (takeSign(u".")) {
            result.isLength = true;
            if (!takeWord(u"length"))
                fail(u"\"length\"");
        }
        result.comparison = operation();
        skipBlanks();
        const qsizetype start = at_;
        result.constant = constant();
        if (result.comparison == Operator::Contains) {
            if (result.constant.typeId() == QMetaType::QString)
                result.folded = foldedText(result.constant.toString());
            else
                fail("CONTAINS takes a text", start);
        }
        return node;
    }

    qsizetype key() {
        const QStringView name = word();
        if (name.isEmpty() || name[0].isDigit()) {
            fail(u"a key");
            return 0;
        }
        for (const QStringView reserved : {u"and", u"or", u"contains", u"true", u"yes", u"no"})
            if (name.compare(reserved, Qt::CaseInsensitive) == 0)
                fail(u"a key");
        at_ += name.size();
        if (const qsizetype known = keys_.indexOf(name); known >= 0)
            return known;
        keys_ << name.toString();
        return keys_.size() - 1;
    }

    Operator operation() {
        for (const auto &[sign, operation] : {std::pair<QStringView, Operator>{u"==", Operator::Equal},
                                              {u"=", Operator::Equal},
                                              {u"!=", Operator::NotEqual},
                                              {u"<=", Operator::LessOrEqual},
                                              {u"CONTAINS[cd]", Operator::Contains}})
            if (takeSign(sign))
                return operation;
        // A ">=" is none of the operators.
        if (takeSign(u">") && !(at_ < text_.size() && text_[at_] == '='))
            return Operator::Greater;
        fail(u"an operator");
        return Operator::Equal;
    }

    QVariant constant() {
        if (isAtEnd()) {
            fail(u"a constant");
            return {};
        }
        if (text_[at_] == '\'' || text_[at_] == '"')
            return quoted();
        if (takeWord(u"TRUE") || takeWord(u"YES"))
            return true;
        if (takeWord(u"NO"))
            return false;
        return number();
    }

    QString quoted() {
        const qsizetype start = at_;
        const QChar quote = text_[at_++];
        QString content = QStringLiteral("");
        for (; at_ < text_.size(); ++at_) {
            QChar character = text_[at_];
            if (character == quote) {
                ++at_;
                return content;
            }
            if (character == '\\') {
                if (++at_ == text_.size())
                    break;
                character = escaped(text_[at_]);
            }
            content += character;
        }
        fail("the text does not end", start);
        return content;
    }
    static QChar escaped(QChar character) {
        switch (character.unicode()) {
        case 'n':
            return u'\n';
        case 'r':
            return u'\r';
        case 't':
            return u'\t';
        default:
            return character;
        }
    }

    QVariant number() {
        const qsizetype start = at_;
        takeSign(u"-");
        bool isWhole = true;
        bool isNumber = takeDigits();
        if (isNumber && at_ < text_.size() && text_[at_] == '.') {
            ++at_;
            isWhole = false;
            isNumber = takeDigits();
        }
        if (isNumber && (at_ == text_.size() || !isWordCharacter(text_[at_]))) {
            const QStringView digits = text_.sliced(start, at_ - start);
            if (const qint64 value = digits.toLongLong(&isNumber); isWhole && isNumber)
                return value;
            if (const double value = digits.toDouble(&isNumber); isNumber)
                return value;
        }
        fail("expected a constant", start);
        return {};
    }
    bool takeDigits() {
        const qsizetype start = at_;
        while (at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9')
            ++at_;
        return at_ > start;
    }

    QStringView text_;
    qsizetype at_ = 0;
    int depth_ = 0;
    QStringList keys_;
    std::optional<PredicateError> error_;
};

namespace {

bool isNumeric(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

// The text in `value`, without a copy of it; null for what is no text, and for an absent one.
const QString *textIn(const QVariant &value) {
    const auto *text = value.typeId() == QMetaType::QString ? static_cast<const QString *>(value.constData()) : nullptr;
    return text && !text->isNull() ? text : nullptr;
}

std::partial_ordering compared(const QVariant &value, const QVariant &constant) {
    if (const QString *text = textIn(value); text && textIn(constant))
        return text->compare(*textIn(constant)) <=> 0;
    if (!isNumeric(value) || !isNumeric(constant))
        return std::partial_ordering::unordered;
    if (value.typeId() == QMetaType::Double || constant.typeId() == QMetaType::Double)
        return value.toDouble() <=> constant.toDouble();
    return value.toLongLong() <=> constant.toLongLong();
}

} // namespace

std::optional<Predicate> Predicate::parse(const QString &text, PredicateError *error) {
    return PredicateParser(text).parse(error);
}

bool Predicate::evaluate(const ValueForKey &valueForKey) const {
    return evaluateWith([&](qsizetype index) { return valueForKey(keys_.at(index)); });
}

bool Predicate::evaluate(const Node &node, const ValueAt &valueAt) {
    if (node.parts.empty())
        return holds(node.comparison, valueAt(node.comparison.key));
    const auto isTrue = [&valueAt](const Node &part) { return evaluate(part, valueAt); };
    return node.isAnd ? std::ranges::all_of(node.parts, isTrue) : std::ranges::any_of(node.parts, isTrue);
}

bool Predicate::holds(const Comparison &comparison, const QVariant &value) {
    const QString *text = textIn(value);
    if (comparison.comparison == Operator::Contains)
        return text && containsFolded(*text, comparison.folded);
    // What is absent compares as nothing does.
    std::partial_ordering order = std::partial_ordering::unordered;
    if (!comparison.isLength)
        order = compared(value, comparison.constant);
    else if (text)
        order = compared(text->size(), comparison.constant);
    switch (comparison.comparison) {
    case Operator::Equal:
        return std::is_eq(order);
    case Operator::LessOrEqual:
        return std::is_lteq(order);
    case Operator::Greater:
        return std::is_gt(order);
    default:
        return std::is_neq(order);
    }
}
