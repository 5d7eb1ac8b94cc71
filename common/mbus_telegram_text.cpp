#include "common/mbus_telegram_text.h"

#include "common/hex_dump.h"
#include "common/mbus_status_text.h"
#include "common/vocabulary.h"

#include <QCoreApplication>
#include <QStringList>

using namespace mbus;

namespace
{

class TelegramText
{
    Q_DECLARE_TR_FUNCTIONS(TelegramText)

public:
    static QString quantityName(Quantity quantity);
    static QString baseUnitName(BaseUnit unit);
    static QString functionName(RecordFunction function);
    static QString vifeNote(quint8 code);
    static QString valueText(const DataRecord &record);
    static QString record(const DataRecord &record);
    static QString telegram(const Telegram &telegram);
    static QString received(const QByteArray &bytes);
};

QString TelegramText::quantityName(Quantity quantity)
{
    switch (quantity) {
    case Quantity::Unknown:
        return tr("Неизвестная величина");
    case Quantity::Energy:
        return tr("Энергия");
    case Quantity::Volume:
        return tr("Объем");
    case Quantity::Mass:
        return tr("Масса");
    case Quantity::OnTime:
        return tr("Время включения");
    case Quantity::OperatingTime:
        return tr("Время работы");
    case Quantity::Power:
        return tr("Мощность");
    case Quantity::VolumeFlow:
        return tr("Объемный расход");
    case Quantity::MassFlow:
        return tr("Массовый расход");
    case Quantity::FlowTemperature:
        return tr("Температура на подающем трубопроводе");
    case Quantity::ReturnTemperature:
        return tr("Температура на обратном трубопроводе");
    case Quantity::TemperatureDifference:
        return tr("Разность температур");
    case Quantity::ExternalTemperature:
        return tr("Внешняя температура");
    case Quantity::Pressure:
        return tr("Давление");
    case Quantity::Date:
        return tr("Дата");
    case Quantity::DateTime:
        return tr("Дата и время");
    case Quantity::HcaUnits:
        return tr("Единицы распределителя тепла");
    case Quantity::AveragingDuration:
        return tr("Период усреднения");
    case Quantity::ActualityDuration:
        return tr("Давность значения");
    case Quantity::FabricationNumber:
        return tr("Заводской номер");
    case Quantity::EnhancedIdentification:
        return tr("Расширенный идентификатор");
    case Quantity::BusAddress:
        return tr("Адрес на шине");
    case Quantity::PlainText:
        return tr("Величина");
    case Quantity::AnyVif:
        return tr("Любая величина");
    case Quantity::ManufacturerSpecific:
        return tr("Величина изготовителя");
    case Quantity::TemperatureLimit:
        return tr("Предел температуры");
    case Quantity::CumulativeMaxPower:
        return tr("Накопленный максимум мощности");
    case Quantity::Credit:
        return tr("Кредит");
    case Quantity::Debit:
        return tr("Дебет");
    case Quantity::AccessNumber:
        return tr("Номер доступа");
    case Quantity::MediumField:
        return tr("Среда");
    case Quantity::ManufacturerField:
        return tr("Изготовитель");
    case Quantity::ParameterSetIdentification:
        return tr("Идентификатор набора параметров");
    case Quantity::ModelVersion:
        return tr("Модель / версия");
    case Quantity::HardwareVersion:
        return tr("Версия аппаратной части");
    case Quantity::FirmwareVersion:
        return tr("Версия микропрограммы");
    case Quantity::SoftwareVersion:
        return tr("Версия программной части");
    case Quantity::CustomerLocation:
        return tr("Место установки");
    case Quantity::Customer:
        return tr("Потребитель");
    case Quantity::AccessCodeUser:
        return tr("Код доступа пользователя");
    case Quantity::AccessCodeOperator:
        return tr("Код доступа оператора");
    case Quantity::AccessCodeSystemOperator:
        return tr("Код доступа системного оператора");
    case Quantity::AccessCodeDeveloper:
        return tr("Код доступа разработчика");
    case Quantity::Password:
        return tr("Пароль");
    case Quantity::ErrorFlags:
        return tr("Флаги ошибок");
    case Quantity::ErrorMask:
        return tr("Маска ошибок");
    case Quantity::DigitalOutput:
        return tr("Дискретный выход");
    case Quantity::DigitalInput:
        return tr("Дискретный вход");
    case Quantity::BaudRate:
        return tr("Скорость обмена");
    case Quantity::ResponseDelay:
        return tr("Задержка ответа");
    case Quantity::Retry:
        return tr("Повторы");
    case Quantity::FirstStorageNumber:
        return tr("Первый номер кольцевого архива");
    case Quantity::LastStorageNumber:
        return tr("Последний номер кольцевого архива");
    case Quantity::StorageBlockSize:
        return tr("Размер блока архива");
    case Quantity::StorageInterval:
        return tr("Интервал архивирования");
    case Quantity::DurationSinceReadout:
        return tr("Время с последнего считывания");
    case Quantity::TariffStart:
        return tr("Начало тарифа");
    case Quantity::TariffDuration:
        return tr("Длительность тарифа");
    case Quantity::TariffPeriod:
        return tr("Период тарифа");
    case Quantity::Dimensionless:
        return tr("Безразмерная величина");
    case Quantity::Voltage:
        return tr("Напряжение");
    case Quantity::Current:
        return tr("Сила тока");
    case Quantity::ResetCounter:
        return tr("Счетчик сбросов");
    case Quantity::CumulationCounter:
        return tr("Счетчик накоплений");
    case Quantity::ControlSignal:
        return tr("Управляющий сигнал");
    case Quantity::DayOfWeek:
        return tr("День недели");
    case Quantity::WeekNumber:
        return tr("Номер недели");
    case Quantity::DayChangeTime:
        return tr("Время смены суток");
    case Quantity::ParameterActivationState:
        return tr("Состояние активации параметров");
    case Quantity::SpecialSupplierInformation:
        return tr("Особые сведения поставщика");
    case Quantity::DurationSinceCumulation:
        return tr("Время с последнего накопления");
    case Quantity::BatteryOperatingTime:
        return tr("Время работы батареи");
    case Quantity::BatteryChangeTime:
        return tr("Дата замены батареи");
    case Quantity::Rssi:
        return tr("Уровень сигнала");
    case Quantity::ReactiveEnergy:
        return tr("Реактивная энергия");
    case Quantity::ApparentEnergy:
        return tr("Полная энергия");
    case Quantity::ReactivePower:
        return tr("Реактивная мощность");
    case Quantity::ApparentPower:
        return tr("Полная мощность");
    case Quantity::RelativeHumidity:
        return tr("Относительная влажность");
    case Quantity::PhaseVoltageToVoltage:
        return tr("Угол сдвига фаз напряжений");
    case Quantity::PhaseVoltageToCurrent:
        return tr("Угол сдвига фаз напряжения и тока");
    case Quantity::Frequency:
        return tr("Частота");
    case Quantity::RatingFactorK:
        return tr("Итоговый оценочный коэффициент K");
    case Quantity::RatingFactorKq:
        return tr("Коэффициент тепловой мощности Kq");
    case Quantity::RatingFactorKc:
        return tr("Общий коэффициент теплового контакта Kc");
    case Quantity::RatingFactorKcr:
        return tr("Коэффициент теплового контакта со стороны помещения Kcr");
    case Quantity::RatingFactorKch:
        return tr("Коэффициент теплового контакта со стороны прибора отопления Kch");
    case Quantity::RatingFactorKt:
        return tr("Коэффициент низкой температуры Kt");
    case Quantity::ScalingFactorKd:
        return tr("Масштабный коэффициент показаний KD");
    case Quantity::SecurityKey:
        return tr("Ключ защиты");
    case Quantity::RemoteControl:
        return tr("Дистанционное управление");
    case Quantity::TariffSubunitDescriptor:
        return tr("Описание тарифов и подустройств");
    case Quantity::OperatorSpecificData:
        return tr("Данные оператора");
    case Quantity::TimePointSecond:
        return tr("Секунда момента времени");
    case Quantity::WirelessContainer:
        return tr("Контейнер протокола беспроводной M-Bus");
    case Quantity::TransmissionPeriod:
        return tr("Период передачи данных");
    case Quantity::DaylightSaving:
        return tr("Переход на летнее время");
    case Quantity::ListeningWindow:
        return tr("Окно приема");
    case Quantity::RemainingBatteryLifetime:
        return tr("Остаточный срок службы батареи");
    case Quantity::MeterStopCount:
        return tr("Число остановок счетчика");
    case Quantity::ManufacturerContainer:
        return tr("Контейнер протокола изготовителя");
    case Quantity::ReportDay:
        return tr("Отчетный день");
    case Quantity::PulseWeight:
        return tr("Вес импульса");
    case Quantity::PulseDuration:
        return tr("Длительность импульса");
    case Quantity::InputAppointment:
        return tr("Назначение входа");
    case Quantity::JournalKind:
        return tr("Вид журнала");
    case Quantity::JournalFirstRecord:
        return tr("Первая запись");
    case Quantity::JournalRecordCount:
        return tr("Количество записей");
    case Quantity::JournalRangeStart:
        return tr("Начало диапазона");
    case Quantity::JournalRangeEnd:
        return tr("Конец диапазона");
    case Quantity::JournalEvent:
        return tr("Событие");
    }
    return QString();
}

// Units the vocabulary has no code for.
QString TelegramText::baseUnitName(BaseUnit unit)
{
    switch (unit) {
    case BaseUnit::Volt:
        return tr("В");
    case BaseUnit::Ampere:
        return tr("А");
    case BaseUnit::CubicFoot:
        return tr("фут.куб");
    case BaseUnit::UsGallon:
        return tr("галлон США");
    case BaseUnit::UsGallonPerMinute:
        return tr("галлон США/мин");
    case BaseUnit::UsGallonPerHour:
        return tr("галлон США/час");
    case BaseUnit::Currency:
        return tr("ден. ед.");
    case BaseUnit::Baud:
        return tr("бод");
    case BaseUnit::BitTime:
        return tr("бит. интервалов");
    case BaseUnit::VoltAmpereHour:
        return tr("ВА.час");
    case BaseUnit::Var:
        return tr("ВАР");
    case BaseUnit::VoltAmpere:
        return tr("ВА");
    case BaseUnit::Degree:
        return tr("°");
    case BaseUnit::Hertz:
        return tr("Гц");
    case BaseUnit::Millisecond:
        return tr("мс");
    case BaseUnit::None:
    case BaseUnit::WattHour:
    case BaseUnit::Joule:
    case BaseUnit::CubicMetre:
    case BaseUnit::Kilogram:
    case BaseUnit::Watt:
    case BaseUnit::JoulePerHour:
    case BaseUnit::CubicMetrePerHour:
    case BaseUnit::CubicMetrePerMinute:
    case BaseUnit::CubicMetrePerSecond:
    case BaseUnit::KilogramPerHour:
    case BaseUnit::Celsius:
    case BaseUnit::Kelvin:
    case BaseUnit::Fahrenheit:
    case BaseUnit::Bar:
    case BaseUnit::DecibelMilliwatt:
    case BaseUnit::Calorie:
    case BaseUnit::VarHour:
    case BaseUnit::Percent:
        return QString();
    }
    return QString();
}

QString TelegramText::functionName(RecordFunction function)
{
    switch (function) {
    case RecordFunction::Instantaneous:
    case RecordFunction::Actual:
        return tr("текущее значение");
    case RecordFunction::Maximum:
        return tr("максимум");
    case RecordFunction::Minimum:
        return tr("минимум");
    case RecordFunction::ValueDuringError:
        return tr("значение при ошибке");
    case RecordFunction::ManufacturerSpecific:
        return tr("данные изготовителя");
    case RecordFunction::MoreRecordsFollow:
        return tr("данные изготовителя, далее следуют записи в следующей телеграмме");
    }
    return QString();
}

// Meaning of a combinable VIFE that the scale does not already show.
QString TelegramText::vifeNote(quint8 code)
{
    switch (code) {
    case 0x00:
        return QString(); // no error
    case 0x20:
        return tr("в секунду");
    case 0x21:
        return tr("в минуту");
    case 0x22:
        return tr("в час");
    case 0x23:
        return tr("в сутки");
    case 0x24:
        return tr("в неделю");
    case 0x25:
        return tr("в месяц");
    case 0x26:
        return tr("в год");
    case 0x27:
        return tr("за оборот или измерение");
    case 0x28:
        return tr("приращение на импульс входа 0");
    case 0x29:
        return tr("приращение на импульс входа 1");
    case 0x2A:
        return tr("приращение на импульс выхода 0");
    case 0x2B:
        return tr("приращение на импульс выхода 1");
    case 0x2C:
        return tr("на литр");
    case 0x2D:
        return tr("на м.куб");
    case 0x2E:
        return tr("на кг");
    case 0x2F:
        return tr("на K");
    case 0x30:
        return tr("на кВт.час");
    case 0x31:
        return tr("на ГДж");
    case 0x32:
        return tr("на кВт");
    case 0x33:
        return tr("на K·л");
    case 0x34:
        return tr("на В");
    case 0x35:
        return tr("на А");
    case 0x36:
        return tr("умножено на сек");
    case 0x37:
        return tr("умножено на сек/В");
    case 0x38:
        return tr("умножено на сек/А");
    case 0x39:
        return tr("дата начала");
    case 0x3A:
        return tr("нескорректированная величина");
    case 0x3B:
        return tr("накопление только положительных значений");
    case 0x3C:
        return tr("накопление модуля только отрицательных значений");
    case 0x40:
        return tr("нижний предел");
    case 0x41:
        return tr("число выходов за нижний предел");
    case 0x48:
        return tr("верхний предел");
    case 0x49:
        return tr("число выходов за верхний предел");
    case 0x7E:
        return tr("будущее значение");
    }
    if (code < 0x20)
        return tr("ошибка записи %1").arg(hexCode(code, 2));
    if (code >= 0x78 && code <= 0x7B)
        return tr("аддитивная поправка %1").arg(hexCode(code, 2));
    return tr("VIFE %1").arg(hexCode(code, 2));
}

QString TelegramText::valueText(const DataRecord &record)
{
    switch (record.type) {
    case ValueType::None:
        return tr("нет данных");
    case ValueType::Date:
        return QStringLiteral("%1.%2.%3")
            .arg(record.time.day, 2, 10, QLatin1Char('0'))
            .arg(record.time.month, 2, 10, QLatin1Char('0'))
            .arg(record.time.year, 4, 10, QLatin1Char('0'));
    case ValueType::DateTime: {
        QString text = QStringLiteral("%1.%2.%3 %4:%5:%6")
                           .arg(record.time.day, 2, 10, QLatin1Char('0'))
                           .arg(record.time.month, 2, 10, QLatin1Char('0'))
                           .arg(record.time.year, 4, 10, QLatin1Char('0'))
                           .arg(record.time.hour, 2, 10, QLatin1Char('0'))
                           .arg(record.time.minute, 2, 10, QLatin1Char('0'))
                           .arg(record.time.second, 2, 10, QLatin1Char('0'));
        if (record.time.summerTime)
            text += tr(" (летнее время)");
        if (record.time.invalid)
            text += tr(" (время недостоверно)");
        return text;
    }
    case ValueType::Text:
        if (!record.textReading)
            return QStringLiteral("\u00AB") + record.text + QStringLiteral("\u00BB");
        break;
    case ValueType::Binary:
    case ValueType::ManufacturerData:
        return rawValueText(record);
    case ValueType::Bcd:
        if (!record.isNumeric())
            return tr("%1 (не число: шестнадцатеричные цифры)").arg(rawValueText(record));
        break;
    case ValueType::Integer:
    case ValueType::Real:
        break;
    }
    QString unit = unitName(record.unitCode);
    if (unit.isEmpty() && record.meaning.quantity == Quantity::PlainText)
        unit = record.plainTextUnit;
    if (unit.isEmpty())
        unit = baseUnitName(record.meaning.baseUnit);
    const QString number = scaledValueText(record);
    if (record.meaning.quantity == Quantity::JournalEvent && record.type == ValueType::Integer)
        return number + QStringLiteral(" (") + eventName(quint8(record.integer)) + QLatin1Char(')');
    return unit.isEmpty() ? number : number + QLatin1Char(' ') + unit;
}

// "0x1A", "0x1E 0x01": the manufacturer's own VIFE codes.
QString manufacturerCodesText(const QVector<quint8> &codes)
{
    QStringList texts;
    for (quint8 code : codes)
        texts << hexCode(code, 2);
    return texts.join(QLatin1Char(' '));
}

QString TelegramText::record(const DataRecord &record)
{
    QString name = valueKindName(record.valueKind);
    if (name.isEmpty())
        name = quantityName(record.meaning.quantity);
    // A record of a manufacturer whose codes are not known here: its VIFEs tell records apart.
    if (record.meaning.quantity == Quantity::ManufacturerSpecific && !record.manufacturerVifes.isEmpty())
        name += QLatin1Char(' ') + manufacturerCodesText(record.manufacturerVifes);
    if (record.function == RecordFunction::ManufacturerSpecific ||
        record.function == RecordFunction::MoreRecordsFollow) {
        const QString data = record.bytes.isEmpty() ? tr("нет данных") : valueText(record);
        return functionName(record.function) + QStringLiteral(": ") + data;
    }
    QStringList details;
    details << functionName(record.function);
    if (record.function != RecordFunction::Actual)
        details << tr("хранение %1").arg(record.storageNumber);
    if (record.difeCount > 0)
        details << tr("тариф %1").arg(record.tariff) << tr("подустройство %1").arg(record.subunit);
    if (record.fixedUnit == kFixedUnitSameButHistoric)
        details << tr("архивное значение");
    for (quint8 code : record.vifes) {
        const QString note = vifeNote(code);
        if (!note.isEmpty())
            details << note;
    }
    if (record.manufacturerVife) {
        details
            << (record.manufacturerVifes.isEmpty()
                    ? tr("с признаком изготовителя")
                    : tr("с признаком изготовителя %1").arg(manufacturerCodesText(record.manufacturerVifes)));
    }
    return name + QStringLiteral(" = ") + valueText(record) + QStringLiteral(" (") +
           details.join(QStringLiteral(", ")) + QLatin1Char(')');
}

QString TelegramText::telegram(const Telegram &telegram)
{
    const SlaveHeader &header = telegram.header;
    QStringList lines;
    lines << tr("Ответ прибора: адрес %1, C %2, CI %3")
                 .arg(header.address)
                 .arg(hexCode(header.control, 2), hexCode(header.ci, 2));
    if (telegram.kind == TelegramKind::ApplicationError) {
        lines << tr("Ошибка прибора: %1")
                     .arg(applicationErrorText(telegram.hasErrorCode, telegram.applicationError));
        return lines.join(QLatin1Char('\n'));
    }
    const bool fixed = telegram.kind == TelegramKind::FixedData;
    if (header.msbFirst)
        lines << tr("Порядок байтов: старший байт первым");
    if (fixed || header.layout == HeaderLayout::Long) {
        lines << tr("Идентификационный номер: %1").arg(identificationText(header.identification));
        if (!fixed) {
            lines << tr("Изготовитель: %1").arg(manufacturerLetters(header.manufacturer));
            lines << tr("Версия: %1").arg(header.version);
        }
        lines << tr("Среда: %1 (%2)").arg(mediumName(header.medium), hexCode(header.medium, 2));
    } else if (header.layout == HeaderLayout::Short) {
        lines << tr("Короткий заголовок: без идентификации прибора");
    } else {
        lines << tr("Без заголовка данных");
    }
    if (fixed || header.layout != HeaderLayout::None) {
        lines << tr("Номер доступа: %1").arg(header.accessNumber);
        lines << tr("Статус: %1 (%2)")
                     .arg(hexCode(header.status, 2),
                          mbusStatusTexts(header.status, fixed).join(QStringLiteral("; ")));
        if (!fixed)
            lines << tr("Подпись: %1").arg(hexCode(header.signature, 4));
    }
    lines << tr("Записей данных: %1").arg(telegram.records.size());
    for (int i = 0; i < telegram.records.size(); ++i)
        lines << QStringLiteral("%1. ").arg(i + 1) + record(telegram.records.at(i));
    return lines.join(QLatin1Char('\n'));
}

QString TelegramText::received(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return tr("Нет принятых данных");
    QStringList blocks;
    for (const ReceivedPiece &piece : decodeReceived(bytes)) {
        switch (piece.kind) {
        case ReceivedPiece::Kind::Acknowledgement:
            blocks << tr("Подтверждение E5");
            break;
        case ReceivedPiece::Kind::Telegram:
            blocks << telegram(piece.telegram);
            break;
        case ReceivedPiece::Kind::Failure:
            blocks << tr("Не удалось разобрать телеграмму: %1 (байт %2)\n%3")
                          .arg(telegramErrorText(piece.error))
                          .arg(piece.errorOffset)
                          .arg(hexDump(piece.bytes));
            break;
        }
    }
    return blocks.join(QStringLiteral("\n\n"));
}

} // namespace

QString telegramToRussianText(const QByteArray &bytes)
{
    return TelegramText::received(bytes);
}

QString telegramText(const Telegram &telegram)
{
    return TelegramText::telegram(telegram);
}

QString recordText(const DataRecord &record)
{
    return TelegramText::record(record);
}
