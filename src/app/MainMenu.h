// The main menu behind the menu button, and the shortcuts of its items.
//
// Threads: main.
#pragma once

#include <QAction>
#include <QMenu>
#include <QObject>
#include <functional>
#include <map>

enum class MenuItem {
    Record,
    Cut,
    Play,
    ImportLocalAudio,
    Next,
    Previous,
    ShowPlayed,
    Filter,
    SelectAll,
    Find,
    ShowFile,
    EditTags,
    Delete,
    ShowRecording,
    ShowLibrary,
    Identification,
    InstallDevice,
    About,
    Quit,
    ShowWindow, ///< in the tray's menu only
};

/// Says how the items are. Outlives its MainMenu.
class MainMenuDelegate {
public:
    /// Whether the item can be chosen now.
    virtual bool validateMenuItem([[maybe_unused]] MenuItem item, [[maybe_unused]] const QString &title) {
        return true;
    }
    /// The title that the item has now.
    virtual QString titleOfMenuItem([[maybe_unused]] MenuItem item, const QString &title) { return title; }

protected:
    ~MainMenuDelegate() = default;
};

class MainMenu final : public QObject {
    Q_OBJECT
public:
    /// Fills `menu`. The shortcuts answer in `window`, whether the menu is open or not.
    MainMenu(MainMenuDelegate &delegate, QMenu &menu, QWidget &window);

    QAction &action(MenuItem item) { return *actions_.at(item); }
    /// Does `work` when the item is chosen.
    void onChoice(MenuItem item, std::function<void()> work);
    /// The short menu of the tray.
    QMenu &trayMenu() { return trayMenu_; }
    /// Titles as they are now.
    void updateTitles();

private:
    void add(QMenu &menu, std::initializer_list<MenuItem> items);
    void validateWhileOpen(QMenu &menu);

    MainMenuDelegate &delegate_;
    std::map<MenuItem, QAction *> actions_;
    QMenu trayMenu_;
};
