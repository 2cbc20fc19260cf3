#include "store/TimeAndSizeText.h"

#include "platform/files/Folders.h"
#include "platform/run/LocalizedString.h"

#include <QCoreApplication>
#include <QDir>
#include <QUuid>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <sys/stat.h>

namespace {

// The number takes the place of its printf directive, so a translation without one shows no number but does no harm.
QString localizedNumber(const char *key, double number, int decimals) {
    return localizedString(key).replace(QStringLiteral("%.%1f").arg(decimals), fixedText(number, decimals));
}

QString clockText(qint64 milliseconds, int minuteDigits) {
    const double rounded = static_cast<double>(milliseconds) / 1000.0 + 0.5;
    const auto total = static_cast<qint64>(rounded); // toward zero, so the last second below none shows as 0:00
    if (total < 0)
        return QStringLiteral("");
    const qint64 hours = total / 3600;
    const qint64 minutes = (total - hours * 3600) / 60;
    const qint64 seconds = total - hours * 3600 - minutes * 60;
    const QLatin1Char zero('0');
    if (hours != 0)
        return QStringLiteral("%1:%2:%3  ").arg(hours).arg(minutes, 2, 10, zero).arg(seconds, 2, 10, zero);
    return QStringLiteral("%1:%2  ").arg(minutes, minuteDigits, 10, zero).arg(seconds, 2, 10, zero);
}

} // namespace

QString fixedText(double number, int decimals) {
    std::array<char, 352> text{}; // the longest double in fixed form has 309 digits before the point
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, decimals).ptr;
    return QString::fromLatin1(text.data(), end - text.data());
}

QString ConvertTimeToString(qint64 milliseconds) {
    if (milliseconds <= 0)
        return QStringLiteral("");
    const double seconds = static_cast<double>(milliseconds) / 1000.0;
    const double minutes = seconds / 60;
    const double hours = seconds / 3600;
    if (hours > 1)
        return localizedNumber("%.1f hours", hours, 1);
    if (minutes > 1)
        return localizedNumber("%.1f minutes", minutes, 1);
    return localizedNumber(seconds > 1 ? "%.0f seconds" : "%.0f second", seconds, 0);
}

QString ConvertTimeToHMS(qint64 milliseconds) { return clockText(milliseconds, 1); }

QString ConvertTimeToHMSPro(qint64 milliseconds) { return clockText(milliseconds, 2); }

QString sizeText(qint64 bytes, QString (*unitText)(const char *unit)) {
    const double kilobytes = static_cast<double>(bytes) / 1000.0;
    const double megabytes = kilobytes / 1000;
    const double gigabytes = megabytes / 1000;
    if (gigabytes > 1)
        return fixedText(gigabytes, 1) + ' ' + unitText("GB");
    if (megabytes > 1)
        return fixedText(megabytes, 1) + ' ' + unitText("MB");
    return fixedText(kilobytes, 1) + ' ' + unitText("KB");
}

QString ConvertSizeToString(qint64 bytes) { return bytes <= 0 ? QStringLiteral("") : sizeText(bytes, localizedString); }

QString FourCCToString(uint32_t code) {
    std::array<char, 8> bytes{};
    std::memcpy(bytes.data(), &code, sizeof code);
    if (IsPPC())
        std::reverse(bytes.begin(), bytes.begin() + sizeof code);
    return QString::fromUtf8(bytes.data());
}

uint32_t StringToFourCC(const QString &string) {
    if (string.isNull())
        return 0;
    std::array<char, 4> bytes = {' ', ' ', ' ', ' '};
    const QByteArray text = string.toUtf8();
    std::copy_n(text.cbegin(), std::min<qsizetype>(text.size(), 4), bytes.begin());
    if (IsPPC())
        std::reverse(bytes.begin(), bytes.end());
    return std::bit_cast<uint32_t>(bytes);
}

QString getTempImagePath() {
    // The upper folder is shared by all users of the machine, and sticky so that none can remove another's folder.
    constexpr mode_t kForAll = 01777;
    const QString shared = QDir::tempPath() + '/' + kApplicationFolderName;
    const QString folder = shared + '/' + QString::number(QCoreApplication::applicationPid());
    if (!QFileInfo(shared).isDir() && QDir().mkpath(shared))
        chmod(QFile::encodeName(shared).constData(), kForAll); // a failure shows to the next user, who gets no folder
    if (!QDir().mkpath(folder))
        return {};
    return folder + '/' + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + ".jpg";
}

QByteArray covertStringTochar(const QString &string) { return string.isNull() ? QByteArray("") : string.toUtf8(); }
