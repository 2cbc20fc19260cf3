// Conditions on an item's values, written as text: "length <= 60000 and isAds = TRUE".
//
//   predicate   comparisons joined by "and" (which binds more tightly) and "or" or "||", with parentheses
//   comparison  key, operator, constant: the operators are == = != <= > and CONTAINS[cd], the last with a text only
//   key         a name of ASCII letters, digits and underscores, or the number of a text's characters: "title.length"
//   constant    TRUE, YES, NO; a number as in 60000, -1 or 0.5; a text in ' or "
//
// Words are read in either case. In a text a backslash takes away the meaning of the character behind it, but that \n,
// \r and \t are the control characters; a % is a % like any other.
//
// What holds:
// - Texts are equal, and ordered, unit by unit; CONTAINS[cd] regards neither case nor diacritics (see FoldedText.h),
// and
//   nothing contains an empty text.
// - Numbers and truth values compare as numbers.
// - An absent value (invalid, or a null string) is unequal to everything, so != holds and nothing else does. The length
//   of what is absent or no text is absent: "title.length == 0" does not hold for an absent title.
// - A value of another kind than the constant is unequal to it, too.
//
// Threads: any; a predicate does not change.
#pragma once

#include <QStringList>
#include <QVariant>
#include <functional>
#include <optional>
#include <vector>

/// Why a text is no predicate.
struct PredicateError {
    qsizetype position = 0; ///< in UTF-16 units from the start of the text
    QString message;        ///< for the log
};

class Predicate {
public:
    using ValueForKey = std::function<QVariant(const QString &key)>;
    using ValueAt = std::function<QVariant(qsizetype index)>;

    /// Nothing, and the reason in `error`, for a text that is no predicate or nests parentheses more than 100 deep.
    [[nodiscard]] static std::optional<Predicate> parse(const QString &text, PredicateError *error = nullptr);

    bool evaluate(const ValueForKey &valueForKey) const;

    /// The names of the values, each once. Loops over many items look them up once and give the values by their place.
    const QStringList &keys() const { return keys_; }
    bool evaluateWith(const ValueAt &valueAt) const { return evaluate(root_, valueAt); }

private:
    friend class PredicateParser;

    enum class Operator { Equal, NotEqual, LessOrEqual, Greater, Contains };
    struct Comparison {
        qsizetype key = 0; // in keys_
        bool isLength = false;
        Operator comparison = Operator::Equal;
        QVariant constant; // bool, qint64, double, QString
        QByteArray folded; // the constant of Contains
    };
    // A comparison where it has no parts.
    struct Node {
        bool isAnd = false;
        std::vector<Node> parts;
        Comparison comparison;
    };

    Predicate() = default;
    static bool evaluate(const Node &node, const ValueAt &valueAt);
    static bool holds(const Comparison &comparison, const QVariant &value);

    QStringList keys_;
    Node root_;
};
