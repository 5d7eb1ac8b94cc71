#include "common/vocabulary.h"

#include <QObject>
#include <QStringList>
#include <QtNumeric>

QString hexCode(quint16 code, int digits)
{
    return QStringLiteral("0x") +
           QString::number(code, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

namespace
{

QString unknownNeuter(quint16 code, int digits)
{
    return hexCode(code, digits) + QObject::tr("- Неизвестно");
}

QString unknownMasculine(quint16 code, int digits)
{
    return hexCode(code, digits) + QObject::tr("- Неизвестный");
}

} // namespace

QString valueKindName(quint8 code)
{
    switch (code) {
    case 1:
        return QObject::tr("Энергия");
    case 2:
        return QObject::tr("Электроэнергия");
    case 3:
        return QObject::tr("Реактивная энергия");
    case 4:
        return QObject::tr("Тепловая энергия");
    case 5:
        return QObject::tr("Объем");
    case 6:
        return QObject::tr("Масса");
    case 7:
        return QObject::tr("Время работы");
    case 8:
        return QObject::tr("Время заряда");
    case 9:
        return QObject::tr("Мощность");
    case 10:
        return QObject::tr("Объемный расход");
    case 11:
        return QObject::tr("Массовый расход");
    case 12:
        return QObject::tr("Разность температур");
    case 13:
        return QObject::tr("Внешняя температура");
    case 14:
        return QObject::tr("Давление");
    case 15:
        return QObject::tr("Длительность");
    case 16:
        return QObject::tr("Средняя длительность");
    case 17:
        return QObject::tr("Температура");
    case 18:
        return QObject::tr("Модификация устройства");
    case 19:
        return QObject::tr("Версия программной части");
    case 20:
        return QObject::tr("Версия аппаратной части");
    case 21:
        return QObject::tr("Состояние");
    case 22:
        return QObject::tr("Статус");
    case 23:
        return QObject::tr("Версия");
    case 24:
        return QObject::tr("Дата, переданная устройством");
    case 25:
        return QObject::tr("Время, переданное устройством");
    case 26:
        return QObject::tr("Уровень заряда аккумуляторной батареи");
    case 27:
        return QObject::tr("Уровень сигнала");
    case 28:
        return QObject::tr("Объем теплоносителя");
    case 29:
        return QObject::tr("Тепловая мощность");
    case 30:
        return QObject::tr("Температура на подающем трубопроводе");
    case 31:
        return QObject::tr("Температура на обратном трубопроводе");
    case 32:
        return QObject::tr("Расход теплоносителя");
    case 33:
        return QObject::tr("Масса водоразбора");
    case 34:
        return QObject::tr("Температура холодной воды");
    case 35:
        return QObject::tr("Температура горячей воды");
    case 36:
        return QObject::tr("Температура воздуха");
    case 37:
        return QObject::tr("Период нормальной работы");
    case 38:
        return QObject::tr("Период отсутствия счета");
    case 39:
        return QObject::tr("Объем воды по дополнительному входу");
    case 40:
        return QObject::tr("Реактивная энергия отпущенная");
    case 41:
        return QObject::tr("Электроэнергия отпущенная");
    case 42:
        return QObject::tr("Тепловая энергия отпущенная");
    case 43:
        return QObject::tr("Энергия отпущенная");
    case 44:
        return QObject::tr("Объем воды");
    case 45:
        return QObject::tr("Объем газа");
    case 46:
        return QObject::tr("Масса воды");
    case 47:
        return QObject::tr("Период запуска");
    case 48:
        return QObject::tr("Неизвестное значение VIB");
    case 49:
        return QObject::tr("Firmware ver");
    case 50:
        return QObject::tr("Firmware id");
    case 51:
        return QObject::tr("Давление в подающем трубопроводе");
    case 52:
        return QObject::tr("Давление в обратном трубопроводе");
    case 53:
        return QObject::tr("Масса воды в подающем трубопроводе");
    case 54:
        return QObject::tr("Масса воды в обратном трубопроводе");
    case 55:
        return QObject::tr("Кол-во остановок счетчика");
    case 56:
        return QObject::tr("Спец.флаги");
    }
    return QString();
}

QString unitName(quint8 code)
{
    switch (code) {
    case 1:
        return QObject::tr("Вт.час");
    case 2:
        return QObject::tr("кВт.час");
    case 3:
        return QObject::tr("ВАР.час");
    case 4:
        return QObject::tr("кВАР.час");
    case 5:
        return QObject::tr("Дж");
    case 6:
        return QObject::tr("кДж");
    case 7:
        return QObject::tr("кал");
    case 8:
        return QObject::tr("ккал");
    case 9:
        return QObject::tr("Гкал");
    case 10:
        return QObject::tr("м.куб");
    case 11:
        return QObject::tr("л");
    case 12:
        return QObject::tr("г");
    case 13:
        return QObject::tr("кг");
    case 14:
        return QObject::tr("т");
    case 15:
        return QObject::tr("сек");
    case 16:
        return QObject::tr("мин");
    case 17:
        return QObject::tr("час");
    case 18:
        return QObject::tr("дн");
    case 19:
        return QObject::tr("мес");
    case 20:
        return QObject::tr("год");
    case 21:
        return QObject::tr("Вт");
    case 22:
        return QObject::tr("Дж/час");
    case 23:
        return QObject::tr("Мкал");
    case 24:
        return QObject::tr("Мкал/час");
    case 25:
        return QObject::tr("м.куб/час");
    case 26:
        return QObject::tr("м.куб/мин");
    case 27:
        return QObject::tr("м.куб/сек");
    case 28:
        return QObject::tr("кг/час");
    case 29:
        return QObject::tr("°С");
    case 30:
        return QObject::tr("K");
    case 31:
        return QObject::tr("°F");
    case 32:
        return QObject::tr("бар");
    case 33:
        return QObject::tr("кг/см.кв");
    case 34:
        return QObject::tr("МВт.час");
    case 35:
        return QObject::tr("МДж");
    case 36:
        return QObject::tr("ГДж");
    case 37:
        return QObject::tr("кВт");
    case 38:
        return QObject::tr("МВт");
    case 39:
        return QObject::tr("ГВт");
    case 40:
        return QObject::tr("%");
    case 41:
        return QObject::tr("дБм");
    case 42:
        return QObject::tr("ГВт.час");
    case 43:
        return QObject::tr("кал/час");
    case 44:
        return QObject::tr("ккал/час");
    case 45:
        return QObject::tr("Гкал/час");
    case 46:
        return QObject::tr("кДж/час");
    case 47:
        return QObject::tr("МДж/час");
    case 48:
        return QObject::tr("ГДж/час");
    }
    return QString();
}

QString mediumName(quint8 code)
{
    switch (code) {
    case 0x00:
        return QObject::tr("Другие");
    case 0x01:
        return QObject::tr("Нефть");
    case 0x02:
        return QObject::tr("Электричество (счетчик)");
    case 0x03:
        return QObject::tr("Газ (счетчик)");
    case 0x04:
        return QObject::tr("Тепло (счетчик)");
    case 0x05:
        return QObject::tr("Steam");
    case 0x06:
        return QObject::tr("Горячая вода (счетчик 30°..90°)");
    case 0x07:
        return QObject::tr("Вода (счетчик)");
    case 0x08:
        return QObject::tr("Heat Cost Allocator");
    case 0x09:
        return QObject::tr("Сжатый воздух");
    case 0x0A:
        return QObject::tr("Датчик охлаждения (объем при темп. обратки на выходе)");
    case 0x0B:
        return QObject::tr("Датчик охлаждения (объем при темп. подачи на входе)");
    case 0x0C:
        return QObject::tr("Тепло (объем при темп. подачи на входе)");
    case 0x0D:
        return QObject::tr("Тепло (охлаждающий датчик)");
    case 0x0E:
        return QObject::tr("Шина (системный компонент)");
    case 0x15:
        return QObject::tr("Горячая вода (счетчик >=90°)");
    case 0x16:
        return QObject::tr("Холодная вода (счетчик)");
    case 0x17:
        return QObject::tr("Вода - двойной регистр (холодная и горячая)");
    case 0x18:
        return QObject::tr("Датчик давления");
    case 0x19:
        return QObject::tr("Счетчик импульсов");
    case 0x20:
        return QObject::tr("Электричество (привод)");
    case 0x21:
        return QObject::tr("Газ (привод)");
    case 0x22:
        return QObject::tr("Вода (привод)");
    case 0x25:
        return QObject::tr("Индикатор");
    case 0x26:
        return QObject::tr("Электронный замок");
    case 0x31:
        return QObject::tr("Концентратор");
    case 0x36:
        return QObject::tr("Радиомодем");
    case 0x37:
        return QObject::tr("Преобразователь интерфейсов");
    }
    return QObject::tr("Неизвестно");
}

QString userTypeName(quint16 code)
{
    switch (code) {
    case 1:
        return QObject::tr("root");
    case 2:
        return QObject::tr("Администратор с расширенным доступом");
    case 3:
        return QObject::tr("Оператор с расширенным доступом");
    case 4:
        return QObject::tr("Пользователь с расширенным доступом");
    case 0x81:
        return QObject::tr("Администратор (организация)");
    case 0x82:
        return QObject::tr("Оператор (организация)");
    case 0x83:
        return QObject::tr("Пользователь (организация)");
    }
    return unknownMasculine(code, 4);
}

QString userStateName(quint8 code)
{
    switch (code) {
    case 0:
        return QObject::tr("Учетная запись не активирована");
    case 1:
        return QObject::tr("Действующий пользователь");
    case 2:
        return QObject::tr("Учетная запись выключена");
    }
    return unknownMasculine(code, 2);
}

QString resourceTypeName(quint16 code)
{
    switch (code) {
    case 0:
        return QObject::tr("Нет");
    case 2:
        return QObject::tr("Водоснабжение (холодная вода)");
    case 3:
        return QObject::tr("Водоснабжение (горячая вода)");
    case 4:
        return QObject::tr("Электроснабжение");
    case 5:
        return QObject::tr("Газоснабжение");
    case 6:
        return QObject::tr("Теплоснабжение");
    }
    return unknownNeuter(code, 4);
}

QString deviceStateName(quint16 code)
{
    switch (code) {
    case 0:
        return QObject::tr("Действующее устройство");
    case 1:
        return QObject::tr("Недействующее устройство");
    }
    return unknownNeuter(code, 4);
}

QString objectTypeName(quint16 code)
{
    switch (code) {
    case 0:
        return QObject::tr("Нет");
    case 1:
        return QObject::tr("Частный дом");
    case 2:
        return QObject::tr("Многоквартирный дом");
    case 3:
        return QObject::tr("Жилое помещение");
    case 4:
        return QObject::tr("Места общего пользования");
    case 5:
        return QObject::tr("Нежилое помещение");
    case 6:
        return QObject::tr("Хозяйственная постройка");
    case 7:
        return QObject::tr("Смотровой колодец");
    case 8:
        return QObject::tr("Общедомовые");
    }
    return unknownNeuter(code, 4);
}

QString meterModelName(quint8 code)
{
    switch (code) {
    case 0:
        return QObject::tr("Vantor_G");
    case 1:
        return QObject::tr("Vantor_E");
    case 2:
        return QObject::tr("Vantor_D.G");
    case 3:
        return QObject::tr("Vantor_D.E");
    }
    return unknownNeuter(code, 2);
}

QString eventName(quint8 code)
{
    switch (code) {
    case 0:
        return QObject::tr("POWER_ON");
    case 1:
        return QObject::tr("POWER_ON1");
    case 2:
        return QObject::tr("POWER_OFF");
    case 3:
        return QObject::tr("RESTART_RF");
    case 4:
        return QObject::tr("CASE_OPEN");
    case 5:
        return QObject::tr("CASE_CLOSED");
    case 6:
        return QObject::tr("EX_CASE_OPEN");
    case 7:
        return QObject::tr("EX_CASE_CLOSED");
    case 8:
        return QObject::tr("RESTART_IrDA");
    }
    return unknownNeuter(code, 2);
}

namespace
{

enum class Compare { LowerCased, Exact };

struct UnitWord {
    const char *word;
    Compare compare;
    quint8 unitCode;
};

// Tried in this order; the first match wins. "cal" comes before "kcal" and "MCal"/"GCal" match only
// exactly, so a lower-case "mcal" or "gcal" is not recognised.
const UnitWord kUnitWords[] = {
    {"cal", Compare::LowerCased, 7},    {"kcal", Compare::LowerCased, 8},    {"MCal", Compare::Exact, 23},
    {"Mcal", Compare::Exact, 23},       {"GCal", Compare::Exact, 9},         {"Gcal", Compare::Exact, 9},
    {"cal/h", Compare::LowerCased, 43}, {"kcal/h", Compare::LowerCased, 44}, {"MCal/h", Compare::Exact, 24},
    {"Mcal/h", Compare::Exact, 24},     {"GCal/h", Compare::Exact, 45},      {"Gcal/h", Compare::Exact, 45},
    {"c", Compare::LowerCased, 29},     {"k", Compare::LowerCased, 30},      {"f", Compare::LowerCased, 31},
    {"j", Compare::LowerCased, 5},      {"kj", Compare::LowerCased, 6},      {"MJ", Compare::Exact, 35},
    {"GJ", Compare::Exact, 36},         {"J/h", Compare::Exact, 22},         {"kJ/h", Compare::Exact, 46},
    {"KJ/h", Compare::Exact, 46},       {"MJ/h", Compare::Exact, 47},        {"GJ/h", Compare::Exact, 48},
    {"Wh", Compare::Exact, 1},          {"kWh", Compare::Exact, 2},          {"KWh", Compare::Exact, 2},
    {"MWh", Compare::Exact, 34},        {"GWh", Compare::Exact, 42},         {"m3", Compare::Exact, 10},
    {"m3/h", Compare::Exact, 25},       {"l", Compare::Exact, 11},           {"W", Compare::Exact, 21},
    {"kW", Compare::Exact, 37},         {"KW", Compare::Exact, 37},          {"MW", Compare::Exact, 38},
    {"GW", Compare::Exact, 39},
};

bool unitCodeOf(const QString &word, quint8 *unitCode)
{
    const QString lower = word.toLower();
    for (const UnitWord &entry : kUnitWords) {
        const QString candidate = QLatin1String(entry.word);
        const bool matches = entry.compare == Compare::LowerCased ? lower == candidate : word == candidate;
        if (matches) {
            *unitCode = entry.unitCode;
            return true;
        }
    }
    return false;
}

bool isElectricity(quint8 medium)
{
    return medium == 0x02 || medium == 0x20;
}

bool isHeat(quint8 medium)
{
    return medium == 0x04 || (medium >= 0x0A && medium <= 0x0D);
}

bool isWater(quint8 medium)
{
    return medium == 0x06 || medium == 0x07 || (medium >= 0x15 && medium <= 0x17) || medium == 0x22;
}

bool isGas(quint8 medium)
{
    return medium == 0x03 || medium == 0x21;
}

} // namespace

bool parseValueWithUnit(quint8 medium, const QString &text, double *value, quint8 *unitCode)
{
    Q_UNUSED(medium) // the unit word alone decides the code; valueKindFor() adds the medium
    const QStringList parts = text.trimmed().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (parts.size() != 2)
        return false;
    quint8 code = 0;
    if (!unitCodeOf(parts.at(1), &code))
        return false;
    bool ok = false;
    const double number = QString(parts.at(0)).replace(QLatin1Char(','), QLatin1Char('.')).toDouble(&ok);
    if (!ok || !qIsFinite(number))
        return false;
    *value = number;
    *unitCode = code;
    return true;
}

quint8 valueKindFor(quint8 medium, quint8 unitCode)
{
    switch (unitCode) {
    case 1:
    case 2:
    case 34:
    case 42: // Wh .. GWh
        return isElectricity(medium) ? 2 : isHeat(medium) ? 4 : 1;
    case 3:
    case 4:
        return 3;
    case 5:
    case 6:
    case 35:
    case 36: // J .. GJ
    case 7:
    case 8:
    case 9:
    case 23: // cal .. Gcal
        return isHeat(medium) ? 4 : 1;
    case 10:
    case 11:
        return isWater(medium) ? 44 : isGas(medium) ? 45 : isHeat(medium) ? 28 : 5;
    case 12:
    case 13:
    case 14:
        return isWater(medium) ? 46 : 6;
    case 15:
    case 16:
    case 17:
    case 18:
    case 19:
    case 20:
        return 15;
    case 21:
    case 37:
    case 38:
    case 39:
        return isHeat(medium) ? 29 : 9;
    case 22:
    case 24:
    case 43:
    case 44:
    case 45:
    case 46:
    case 47:
    case 48:
        return 29;
    case 25:
    case 26:
    case 27:
        return isHeat(medium) ? 32 : 10;
    case 28:
        return 11;
    case 29:
    case 31:
        return 17;
    case 30:
        return 12;
    case 32:
    case 33:
        return 14;
    case 41:
        return 27;
    }
    return 0;
}
