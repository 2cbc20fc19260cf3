// The window that says who may be asked what a track is: players, the library itself, services in the network.
//
// Threads: main.
#pragma once

#include <QDialog>
#include <vector>

class QAbstractButton;
class QBoxLayout;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

/// Shows what is set; nothing counts before it is saved, and all of it does then.
class IdentificationView : public QDialog {
    Q_OBJECT
public:
    explicit IdentificationView(QWidget *parent);

    /// Whether a service can be asked at `address`.
    static bool isAddress(const QString &address);

signals:
    void settingsDidChange();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    /// A field and the setting that it shows; an empty one stands for what the program has by itself.
    struct Entry {
        const char *key;
        QLineEdit *field;
    };

    QWidget *makeSources();
    QWidget *makeOnline();
    QWidget *makeAdvanced();
    QLayout *makeBottom();
    QLineEdit *addAddress(QBoxLayout &lines, const char *key, const QString &title, const QString &placeholder);
    void load();
    void reset();
    void setAdvancedShown(bool isShown);
    void validate();
    QString troubleOfKey() const;
    void save();

    QCheckBox *btnPlayers_ = nullptr;
    QCheckBox *btnLibrary_ = nullptr;
    QCheckBox *btnOnline_ = nullptr;
    QLineEdit *keyField_ = nullptr;
    QLabel *lblKey_ = nullptr;
    QAbstractButton *advancedBtn_ = nullptr;
    QWidget *advanced_ = nullptr;
    QLabel *lblTrouble_ = nullptr;
    QPushButton *saveBtn_ = nullptr;
    std::vector<Entry> entries_;
    bool hasOwnKey_ = false; // one was built in
};
