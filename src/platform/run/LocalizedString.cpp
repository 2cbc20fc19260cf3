#include "platform/run/LocalizedString.h"

#include <QLocale>
#include <QTranslator>

// The catalogues stand in a static library, which the linker leaves out unless somebody names them. The macro declares
// a function of the global namespace.
static void requireCatalogues() { Q_INIT_RESOURCE(translations); }

namespace {

/// The catalogue of the user's language, or the English one. Nobody changes it once it is loaded, so that any thread
/// may look into it.
const QTranslator &catalogue() {
    static const auto *const loaded = [] {
        requireCatalogues();
        auto *translator = new QTranslator; // lives as long as the process: whoever ends late may still want a text
        const QString folder = QStringLiteral(":/translations");
        if (!translator->load(QLocale(), "Corvidia", "_", folder) && !translator->load("Corvidia_en", folder))
            qFatal("the program's texts are missing");
        return translator;
    }();
    return *loaded;
}

} // namespace

QString localizedString(const char *key) {
    const QString text = catalogue().translate("Corvidia", key);
    return text.isEmpty() ? QString::fromUtf8(key) : text;
}
