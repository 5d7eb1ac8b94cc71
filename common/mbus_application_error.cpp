// Texts of the error code of an application error reply (CI 0x70), in English and in Russian from one
// table. A reply without a code is an unspecified error, like code 0.

#include "common/mbus_telegram.h"
#include "common/mbus_telegram_text.h"
#include "common/vocabulary.h"

#include <QCoreApplication>

namespace
{

struct ApplicationErrorNames {
    quint8 code;
    const char *english; // the words common to M-Bus tools
    const char *russian;
};

const ApplicationErrorNames kNames[] = {
    {0x00, "Unspecified error", QT_TRANSLATE_NOOP("ApplicationError", "Неуказанная ошибка")},
    {0x01, "Unimplemented CI-Field", QT_TRANSLATE_NOOP("ApplicationError", "Поле CI не поддерживается")},
    {0x02, "Buffer too long, truncated",
     QT_TRANSLATE_NOOP("ApplicationError", "Буфер слишком длинный, ответ усечен")},
    {0x03, "Too many records", QT_TRANSLATE_NOOP("ApplicationError", "Слишком много записей")},
    {0x04, "Premature end of record", QT_TRANSLATE_NOOP("ApplicationError", "Преждевременный конец записи")},
    {0x05, "More than 10 DIFE\u00B4s", QT_TRANSLATE_NOOP("ApplicationError", "Более 10 байтов DIFE")},
    {0x06, "More than 10 VIFE\u00B4s", QT_TRANSLATE_NOOP("ApplicationError", "Более 10 байтов VIFE")},
    {0x08, "Application busy", QT_TRANSLATE_NOOP("ApplicationError", "Приложение занято")},
    {0x09, "Too many readouts", QT_TRANSLATE_NOOP("ApplicationError", "Слишком много считываний")},
};

const ApplicationErrorNames *namesOf(bool hasCode, quint8 code)
{
    for (const ApplicationErrorNames &names : kNames) {
        if (names.code == (hasCode ? code : 0x00))
            return &names;
    }
    return nullptr;
}

class ApplicationError
{
    Q_DECLARE_TR_FUNCTIONS(ApplicationError)

public:
    static QString russian(bool hasCode, quint8 code)
    {
        const ApplicationErrorNames *names = namesOf(hasCode, code);
        return names ? tr(names->russian) : tr("Зарезервированный код ошибки %1").arg(hexCode(code, 2));
    }
};

} // namespace

QString mbus::applicationErrorDescription(bool hasCode, quint8 code)
{
    const ApplicationErrorNames *names = namesOf(hasCode, code);
    return names ? QString::fromUtf8(names->english)
                 : QStringLiteral("Reserved (") + hexCode(code, 2) + QLatin1Char(')');
}

QString applicationErrorText(bool hasCode, quint8 code)
{
    return ApplicationError::russian(hasCode, code);
}
