#include "common/mbus_status_text.h"

#include <QCoreApplication>

namespace
{

class StatusTexts
{
    Q_DECLARE_TR_FUNCTIONS(StatusTexts)

public:
    static QStringList of(quint8 status, bool fixedStructure);
};

QStringList StatusTexts::of(quint8 status, bool fixedStructure)
{
    QStringList texts;
    if ((status & 0x1F) == 0)
        texts << tr("Ошибок нет");
    switch (status & 0x03) {
    case 0x01:
        texts << tr("Приложение занято");
        break;
    case 0x02:
        texts << tr("Ошибка приложения");
        break;
    case 0x03:
        texts << tr("Аварийное состояние");
        break;
    }
    if (status & 0x04)
        texts << tr("Низкое напряжение питания");
    if (status & 0x08)
        texts << tr("Постоянная ошибка");
    if (status & 0x10)
        texts << tr("Временная ошибка");
    if (fixedStructure) {
        if (status & 0x20)
            texts << tr("Флаг изготовителя (бит 5)");
        if (status & 0x40)
            texts << tr("Счетчики: значения на фиксированную дату");
        if (status & 0x80)
            texts << tr("Счетчики в двоичном коде");
    } else {
        for (int bit = 5; bit <= 7; ++bit) {
            if (status & (1 << bit))
                texts << tr("Флаг изготовителя (бит %1)").arg(bit);
        }
    }
    return texts;
}

} // namespace

QStringList mbusStatusTexts(quint8 status, bool fixedStructure)
{
    return StatusTexts::of(status, fixedStructure);
}
