#include "shell/ui/japaneseinterface.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace tolvane::shell {

bool InstallJapaneseInterface(QCoreApplication &app)
{
    const QLocale japanese(QLocale::Japanese, QLocale::Japan);
    QLocale::setDefault(japanese);
    auto *translator = new QTranslator(&app);
    const QStringList folders { QLibraryInfo::path(QLibraryInfo::TranslationsPath),
        QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("translations")) };
    for (const QString &folder : folders) {
        if (translator->load(japanese, QStringLiteral("qtbase"), QStringLiteral("_"), folder)) {
            QCoreApplication::installTranslator(translator);
            return true;
        }
    }
    delete translator;
    return false;
}

} // namespace tolvane::shell
