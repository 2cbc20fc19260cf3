#include "app/MainMenu.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"

#include <array>

namespace {

struct MenuEntry {
    MenuItem item;
    const char *title;
    const char *shortcut; // several are parted by "; "
};

constexpr std::array kEntries{
    MenuEntry{MenuItem::Record, "Start Recording", "Ctrl+R"},
    MenuEntry{MenuItem::Cut, "Cut to another recording", "Ctrl+K"},
    MenuEntry{MenuItem::Play, "Play", "Space"},
    MenuEntry{MenuItem::ImportLocalAudio, "Import Local Audio...", "Ctrl+O"},
    MenuEntry{MenuItem::Next, "Next Track", "Ctrl+Right"},
    MenuEntry{MenuItem::Previous, "Previous Track", "Ctrl+Left"},
    MenuEntry{MenuItem::ShowPlayed, "Show Playing Track", "Ctrl+L"},
    MenuEntry{MenuItem::Filter, "Filter...", ""},
    MenuEntry{MenuItem::SelectAll, "Select All", "Ctrl+A"},
    MenuEntry{MenuItem::Find, "Find", "Ctrl+F"},
    MenuEntry{MenuItem::ShowFile, "Show in Finder", ""},
    MenuEntry{MenuItem::EditTags, "Edit Music Tags", "F2; Ctrl+I"},
    MenuEntry{MenuItem::Delete, "Delete", "Del"},
    MenuEntry{MenuItem::ShowRecording, "Recording", "Ctrl+1"},
    MenuEntry{MenuItem::ShowLibrary, "Library", "Ctrl+2"},
    MenuEntry{MenuItem::Identification, "Identification...", ""},
    MenuEntry{MenuItem::InstallDevice, "Install Recording Extra...", ""},
    MenuEntry{MenuItem::About, "About %2$@", ""},
    MenuEntry{MenuItem::Quit, "Quit %2$@", "Ctrl+Q"},
    MenuEntry{MenuItem::ShowWindow, "Show", ""},
};

constexpr QLatin1String kProgramName("Tessarine Corvidia");

/// Space belongs to whatever has the keyboard: the list plays, a button is pressed, a text takes a blank.
bool isShownOnly(MenuItem item) { return item == MenuItem::Play; }

} // namespace

MainMenu::MainMenu(MainMenuDelegate &delegate, QMenu &menu, QWidget &window) : delegate_(delegate) {
    for (const MenuEntry &entry : kEntries) {
        auto *action = new QAction(localizedString(entry.title).replace(QLatin1String("%1"), kProgramName), this);
        action->setShortcuts(QKeySequence::listFromString(QString::fromLatin1(entry.shortcut)));
        actions_.emplace(entry.item, action);
        if (isShownOnly(entry.item))
            action->setShortcutContext(Qt::WidgetShortcut);
        else
            window.addAction(action); // an action answers its shortcut only in a window that holds it
    }
    const auto subMenu = [&menu, this](const char *title) {
        QMenu *sub = menu.addMenu(localizedString(title));
        Look::shared().dress(*sub); // a menu is a window of its own
        sub->setFont(menu.font());
        validateWhileOpen(*sub);
        return sub;
    };
    using enum MenuItem;
    add(menu, {Record, Cut});
    menu.addSeparator();
    add(*subMenu("Control"), {Play, ImportLocalAudio, Next, Previous, ShowPlayed, Filter});
    add(*subMenu("Edit"), {SelectAll, Find, ShowFile, EditTags, Delete});
    add(*subMenu("View"), {ShowRecording, ShowLibrary});
    menu.addSeparator();
    add(menu, {Identification, InstallDevice});
    menu.addSeparator();
    add(menu, {About, Quit});
    validateWhileOpen(menu);
    add(trayMenu_, {Play, Record, Cut, ShowWindow, Quit});
    Look::shared().dress(trayMenu_);
    validateWhileOpen(trayMenu_);
}

void MainMenu::add(QMenu &menu, std::initializer_list<MenuItem> items) {
    for (const MenuItem item : items)
        menu.addAction(actions_.at(item));
}

void MainMenu::onChoice(MenuItem item, std::function<void()> work) {
    connect(actions_.at(item), &QAction::triggered, this, std::move(work));
}

void MainMenu::updateTitles() {
    for (const auto &[item, action] : actions_)
        action->setText(delegate_.titleOfMenuItem(item, action->text()));
}

// Only an open menu shows what can't be chosen now: a disabled action would not answer its shortcut later on, and what
// shortcuts do is checked when they do it.
void MainMenu::validateWhileOpen(QMenu &menu) {
    connect(&menu, &QMenu::aboutToShow, this, [this] {
        updateTitles();
        for (const auto &[item, action] : actions_)
            action->setEnabled(delegate_.validateMenuItem(item, action->text()));
    });
    if (qobject_cast<QMenu *>(menu.parentWidget()))
        return; // the menu above it stays open
    connect(&menu, &QMenu::aboutToHide, this, [this] {
        for (const auto &[item, action] : actions_)
            action->setEnabled(true);
    });
}
