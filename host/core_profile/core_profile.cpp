#include "host/core_profile/core_profile.h"

#include <QCoreApplication>
#include <QDir>

QString CoreProfile::appFullPath() const
{
    QDir root(QCoreApplication::applicationDirPath());
    root.cdUp();
    return root.absolutePath() + QLatin1Char('/');
}
