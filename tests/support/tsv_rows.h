#pragma once

// Rows of a tab-separated test data file in tests/unit/data; '#' lines and blank lines left out.

#include <QFile>
#include <QMetaEnum>
#include <QStringList>
#include <QVector>

inline QVector<QStringList> tsvRows(const QString &name)
{
    QFile file(QStringLiteral(ZORVA_SOURCE_DIR "/tests/unit/data/") + name);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        qFatal("cannot open %s", qPrintable(file.fileName()));
    QVector<QStringList> rows;
    for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty() && !line.startsWith(QLatin1Char('#')))
            rows.append(line.split(QLatin1Char('\t')));
    }
    return rows;
}

// The name of a Q_ENUM value, as the data files write it.
template <typename E> QString enumName(E value)
{
    return QLatin1String(QMetaEnum::fromType<E>().valueToKey(int(value)));
}
