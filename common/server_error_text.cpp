#include "common/server_error_text.h"

#include <QCoreApplication>

namespace
{

const char *sourceText(quint16 code)
{
    switch (code) {
    case 0:
        return QT_TRANSLATE_NOOP("ServerError", "OK.");
    case 1:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестная команда (параметр CMD).");
    case 2:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр CMD отсутствует.");
    case 3:
        return QT_TRANSLATE_NOOP("ServerError", "Пустая строка параметров.");
    case 4:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр Date, обязательный для данного запроса.");
    case 5:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр Time, обязательный для данного запроса.");
    case 6:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр Dev, обязательный для данного запроса.");
    case 7:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр HardVer, обязательный для данного запроса.");
    case 8:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр SoftVer, обязательный для данного запроса.");
    case 9:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр Status, обязательный для данного запроса.");
    case 10:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр wmbMan, необходимый для идентификации устройства.");
    case 11:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр wmbId, необходимый для идентификации устройства.");
    case 12:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр wmbDev, необходимый для идентификации устройства.");
    case 13:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр wmbVer, необходимый для идентификации устройства.");
    case 14:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра wmbMan.");
    case 15:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра wmbId.");
    case 16:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра wmbDev.");
    case 17:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра wmbVer.");
    case 18:
        return QT_TRANSLATE_NOOP(
            "ServerError", "Отсутствуют показания и флаги состояний устройства. Нет данных для сохранения.");
    case 19:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось подключиться к серверу БД.");
    case 20:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось подключиться к БД после соединения с сервером.");
    case 21:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось установить нужную кодировку на сервере БД.");
    case 22:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует соединение с БД.");
    case 23:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при проверке и создании таблицы настроек.");
    case 24:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось прочитать таблицу настроек.");
    case 25:
        return QT_TRANSLATE_NOOP("ServerError", "GET запросы запрещены в настройках.");
    case 26:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице устройств.");
    case 27:
        return QT_TRANSLATE_NOOP("ServerError", "Устройство отсутствует в БД.");
    case 28:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Запись для данного устройства на указанную дату уже существует.");
    case 29:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось добавить запись в архив.");
    case 30:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице архива.");
    case 31:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось получить идентификатор записи архива.");
    case 32:
        return QT_TRANSLATE_NOOP("ServerError", "Нет значений в списке показаний.");
    case 33:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось сохранить показания устройства.");
    case 34:
        return QT_TRANSLATE_NOOP("ServerError", "Нет значений в списке флагов состояний.");
    case 35:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось сохранить флаги состояний устройства.");
    case 36:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Не удалось сохранить идентификатор архивной записи в таблице устройства.");
    case 37:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось загрузить файл SQL-скрипта.");
    case 38:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении SQL-скрипта.");
    case 39:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при удалении таблиц БД.");
    case 40:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр CompanyId не найден.");
    case 41:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр SortCol задан неверно.");
    case 42:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр SortType задан неверно.");
    case 43:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра RowCount.");
    case 44:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра StartRowNum.");
    case 45:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр RowCount задан неверно.");
    case 46:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр StartRowNum задан неверно.");
    case 47:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Районов КЛАДРа.");
    case 48:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Городов КЛАДРа.");
    case 49:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Ошибка при выполнении запроса к таблице Населенных пунктов КЛАДРа.");
    case 50:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Улиц КЛАДРа.");
    case 51:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Домов КЛАДРа.");
    case 52:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра SocrId.");
    case 53:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра SocrIdMin.");
    case 54:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра SocrIdMax.");
    case 55:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра SocrLevel.");
    case 56:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Типов КЛАДРа.");
    case 57:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра IndexId.");
    case 58:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Индексов КЛАДРа.");
    case 59:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра AddressId.");
    case 60:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Адресов.");
    case 61:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось создать временный файл.");
    case 62:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр RegionCode, обязательный для данного запроса.");
    case 63:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр RayonCode, обязательный для данного запроса.");
    case 64:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр CityCode, обязательный для данного запроса.");
    case 65:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр PunktCode, обязательный для данного запроса.");
    case 66:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр StreetCode, обязательный для данного запроса.");
    case 67:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра RegionCode.");
    case 68:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра RayonCode.");
    case 69:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра CityCode.");
    case 70:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра PunktCode.");
    case 71:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра StreetCode.");
    case 72:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра SocrId.");
    case 73:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Index.");
    case 74:
        return QT_TRANSLATE_NOOP("ServerError", "В таблице Адресов уже имеется такая запись.");
    case 75:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось вставить запись в таблицу Адресов.");
    case 76:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр AddressId, обязательный для данного запроса.");
    case 77:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля AddressId.");
    case 78:
        return QT_TRANSLATE_NOOP("ServerError", "Указанный адрес используется в таблице Устройств.");
    case 79:
        return QT_TRANSLATE_NOOP("ServerError", "Указанный адрес используется в таблице Абонентов.");
    case 80:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось выполнить запрос к БД.");
    case 81:
        return QT_TRANSLATE_NOOP("ServerError", "Некорректный результат запроса.");
    case 82:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра AbonentType.");
    case 83:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Типов абонентов.");
    case 84:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра DevType.");
    case 85:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Типов устройств.");
    case 86:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ArcType.");
    case 87:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Ошибка при выполнении запроса к таблице Типов архивных записей.");
    case 88:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра AccountId.");
    case 89:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Лицевых счетов.");
    case 90:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра DeviceId.");
    case 91:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра IdentNum.");
    case 92:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Ver.");
    case 93:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра InstallDate.");
    case 94:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра InstallDateMin.");
    case 95:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра InstallDateMax.");
    case 96:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра LastPovDate.");
    case 97:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра LastPovDateMin.");
    case 98:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра LastPovDateMax.");
    case 99:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр ManId, необходимый для идентификации устройства.");
    case 100:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр IdentNum, необходимый для идентификации устройства.");
    case 101:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр DevType, необходимый для идентификации устройства.");
    case 102:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр Ver, необходимый для идентификации устройства.");
    case 103:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ManId.");
    case 104:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса.");
    case 105:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Показаний.");
    case 106:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Флагов состояний.");
    case 107:
        return QT_TRANSLATE_NOOP("ServerError", "В таблице Устройств уже имеется такая запись.");
    case 108:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра PovInterval.");
    case 109:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось вставить запись в таблицу Устройств.");
    case 110:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует идетификатор устройства.");
    case 111:
        return QT_TRANSLATE_NOOP("ServerError", "Указанное устройство используется в таблице Показаний.");
    case 112:
        return QT_TRANSLATE_NOOP("ServerError", "Адрес не найден.");
    case 113:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ArcDate.");
    case 114:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ArcDateMin.");
    case 115:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ArcDateMax.");
    case 116:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра AbonentId.");
    case 117:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Абонентов.");
    case 118:
        return QT_TRANSLATE_NOOP("ServerError", "Фунция временно отключена. Идут работы на сервере.");
    case 119:
        return QT_TRANSLATE_NOOP("ServerError", "Дата и время указаны неверно. Прошло более трех месяцев.");
    case 120:
        return QT_TRANSLATE_NOOP("ServerError", "Абонент использует другие объекты.");
    case 121:
        return QT_TRANSLATE_NOOP("ServerError", "Список абонентов пуст.");
    case 122:
        return QT_TRANSLATE_NOOP("ServerError", "В таблице Абонентов уже имеется такая запись.");
    case 123:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось вставить запись в таблицу Абонентов.");
    case 124:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр AbonentId.");
    case 125:
        return QT_TRANSLATE_NOOP("ServerError", "Дата и время указаны неверно. Указанное время еще не "
                                                "настало в этой вселенной на нашей планете.");
    case 126:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр TimeShift.");
    case 127:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра TimeShift.");
    case 128:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ObjectId.");
    case 129:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка Json: несоответствие типа ответа.");
    case 130:
        return QT_TRANSLATE_NOOP("ServerError", "Разрешены только защищенные HTTPS соединения.");
    case 131:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат JSON.");
    case 132:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении SQL запроса.");
    case 133:
        return QT_TRANSLATE_NOOP("ServerError", "Тайм-аут передачи данных.");
    case 134:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось дешифровать данные.");
    case 135:
        return QT_TRANSLATE_NOOP("ServerError", "Неверный формат строки данных после дешифрования.");
    case 136:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр AuthData.");
    case 137:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра AuthData.");
    case 138:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице Пользователей.");
    case 139:
        return QT_TRANSLATE_NOOP("ServerError", "Неверное имя пользователя или пароль.");
    case 140:
        return QT_TRANSLATE_NOOP("ServerError", "Пользователь отключен.");
    case 141:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр CommandCode.");
    case 142:
        return QT_TRANSLATE_NOOP("ServerError", "Неверный формат параметра CommandCode.");
    case 143:
        return QT_TRANSLATE_NOOP("ServerError", "Команда недоступна для указанного пользователя.");
    case 144:
        return QT_TRANSLATE_NOOP("ServerError", "Абонент не найден.");
    case 145:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр ObjectId.");
    case 146:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ObjectId.");
    case 147:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра UserAuth.");
    case 148:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось вставить запись в Таблицу Пользователей.");
    case 149:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр UserId.");
    case 150:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось изменить запись в Таблице Пользователей.");
    case 151:
        return QT_TRANSLATE_NOOP("ServerError", "Устройство с указанными параметрами уже существует.");
    case 152:
        return QT_TRANSLATE_NOOP("ServerError", "Не найден параметр Vantor.");
    case 153:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Vantor.");
    case 154:
        return QT_TRANSLATE_NOOP("ServerError", "Указанный логин занят другим пользователем.");
    case 155:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса на получение идентификатора.");
    case 156:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр DATA, обязательный для данного запроса.");
    case 157:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестный формат параметра DATA.");
    case 158:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат даты или времени.");
    case 159:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Dev.");
    case 160:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Status.");
    case 161:
        return QT_TRANSLATE_NOOP("ServerError", "Несоответствие размера данных параметра DATA.");
    case 162:
        return QT_TRANSLATE_NOOP("ServerError", "Неверная контрольная сумма.");
    case 163:
        return QT_TRANSLATE_NOOP("ServerError", "Неверное значение DIF для данного устройства.");
    case 164:
        return QT_TRANSLATE_NOOP("ServerError", "Неверное значение VIF для данного устройства.");
    case 165:
        return QT_TRANSLATE_NOOP("ServerError", "Неожиданный конец данных - несоответствие формата.");
    case 166:
        return QT_TRANSLATE_NOOP("ServerError", "Неверное значение показаний прибора.");
    case 167:
        return QT_TRANSLATE_NOOP("ServerError", "Неверная длина пакета данных устройства.");
    case 168:
        return QT_TRANSLATE_NOOP("ServerError", "Файл не найден.");
    case 169:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось открыть файл.");
    case 170:
        return QT_TRANSLATE_NOOP("ServerError", "Неверный метод запроса.");
    case 171:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр Content-Length задан неверно.");
    case 172:
        return QT_TRANSLATE_NOOP("ServerError", "Параметр Content-Length не совпадает с длиной данных.");
    case 173:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестный тип параметра Content-Type.");
    case 174:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Неверный формат заголовка. Разделитель (boundary) не найден.");
    case 175:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось прочитать Content данные.");
    case 176:
        return QT_TRANSLATE_NOOP("ServerError", "Неверный формат Content данных.");
    case 177:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат числового параметра.");
    case 178:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при разборе флагов состояний.");
    case 179:
        return QT_TRANSLATE_NOOP("ServerError", "Превышение количества DIFE байт.");
    case 180:
        return QT_TRANSLATE_NOOP("ServerError", "Превышение количества VIFE байт.");
    case 181:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат числовых данных.");
    case 182:
        return QT_TRANSLATE_NOOP("ServerError", "Дата и время не найдены.");
    case 183:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестный параметр.");
    case 184:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестный тип данных.");
    case 185:
        return QT_TRANSLATE_NOOP("ServerError", "Несоответствие размера пакета данных.");
    case 186:
        return QT_TRANSLATE_NOOP("ServerError", "Неверное значение размера для указанного типа данных.");
    case 187:
        return QT_TRANSLATE_NOOP("ServerError", "Недостаточно параметров для сохранения события.");
    case 188:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось сохранить событие в БД.");
    case 189:
        return QT_TRANSLATE_NOOP("ServerError", "Событие уже есть в БД.");
    case 190:
        return QT_TRANSLATE_NOOP("ServerError", "Объект не найден.");
    case 191:
        return QT_TRANSLATE_NOOP("ServerError", "Пустой список устройств.");
    case 192:
        return QT_TRANSLATE_NOOP("ServerError", "Неверная дата или время.");
    case 203:
        return QT_TRANSLATE_NOOP("ServerError", "В БД уже имеется такая запись.");
    case 204:
        return QT_TRANSLATE_NOOP("ServerError", "Указанная запись используется в других таблицах.");
    case 205:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при сохранении данных некоторых приборов.");
    case 206:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при чтении результата запроса.");
    case 207:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при записи содержимого HTTP ответа.");
    case 208:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при считывании содержимого HTTP запроса.");
    case 209:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствуют обязательные параметры.");
    case 210:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось получить идентификатор пользователя.");
    case 211:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестный тип пользователя.");
    case 212:
        return QT_TRANSLATE_NOOP("ServerError", "Учетная запись не активирована.");
    case 213:
        return QT_TRANSLATE_NOOP("ServerError", "Истекло время действия учетной записи.");
    case 214:
        return QT_TRANSLATE_NOOP("ServerError", "Истекло время действия пароля.");
    case 215:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Year.");
    case 216:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Id.");
    case 217:
        return QT_TRANSLATE_NOOP("ServerError", "Указанный адрес пренадлежит другой компании.");
    case 218:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Отсутствует параметр Password, обязательный для данного запроса.");
    case 219:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр ObjType.");
    case 220:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ObjType.");
    case 221:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра CompanyId.");
    case 222:
        return QT_TRANSLATE_NOOP("ServerError", "Не удалось отправить POST запрос на сервер.");
    case 223:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат XML.");
    case 224:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка XML: отсутствует основной раздел <velmoraData>.");
    case 225:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка XML: отсутствует раздел <info>.");
    case 226:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка XML: отсутствует раздел <data>.");
    case 227:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка XML: отсутствует параметр <ResultType>.");
    case 228:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка XML: отсутствует параметр <ServerSoftVer>.");
    case 229:
        return QT_TRANSLATE_NOOP("ServerError", "Слишком большое значение параметра ObjCount.");
    case 230:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр Obj.");
    case 231:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра CMD.");
    case 232:
        return QT_TRANSLATE_NOOP("ServerError", "Некорректное значение в BCD формате.");
    case 233:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестный статус пользователя.");
    case 234:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр Name.");
    case 235:
        return QT_TRANSLATE_NOOP("ServerError", "Указанная запись отсутствует в БД.");
    case 236:
        return QT_TRANSLATE_NOOP("ServerError", "Тайм-аут ожидания данных.");
    case 237:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля ObjType.");
    case 238:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля AbonentId.");
    case 239:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра ResCode.");
    case 240:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля DeviceId.");
    case 241:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля ResCode.");
    case 242:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля TitleId.");
    case 243:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля EdId.");
    case 244:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля PrefixNum.");
    case 245:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля PostfixNum.");
    case 246:
        return QT_TRANSLATE_NOOP("ServerError", "Устройство не найдено.");
    case 247:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля DevType.");
    case 248:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля Ver.");
    case 249:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля ModelId.");
    case 250:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля Status.");
    case 251:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля PovStat.");
    case 252:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля PovInterval.");
    case 253:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля ManufId.");
    case 254:
        return QT_TRANSLATE_NOOP("ServerError",
                                 "Вы используете устаревшую версию ПО. Пожалуйста, обновите программу.");
    case 255:
        return QT_TRANSLATE_NOOP("ServerError", "Эта часть программы еще не реализована.");
    case 256:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Date.");
    case 257:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Period.");
    case 258:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля Id.");
    case 259:
        return QT_TRANSLATE_NOOP("ServerError", "Не существует таблицы в БД.");
    case 260:
        return QT_TRANSLATE_NOOP("ServerError", "Ошибка при выполнении запроса к таблице компаний.");
    case 261:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля RegionCode.");
    case 262:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля RayonCode.");
    case 263:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля CityCode.");
    case 264:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля PunktCode.");
    case 265:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля StreetCode.");
    case 266:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля SocrId.");
    case 267:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля StreetSocrId.");
    case 268:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра UserId.");
    case 269:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля ArcDate.");
    case 270:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля RecDate.");
    case 271:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра EdTeplo.");
    case 272:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра EdElectro.");
    case 273:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра EdVoda.");
    case 274:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра EdGas.");
    case 275:
        return QT_TRANSLATE_NOOP("ServerError", "Пользователь отсутствует в БД.");
    case 276:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра UserType.");
    case 277:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр PasOld.");
    case 278:
        return QT_TRANSLATE_NOOP("ServerError", "Старый пароль указан неверно.");
    case 279:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра OdCount.");
    case 280:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра KvCount.");
    case 281:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр KvCount.");
    case 282:
        return QT_TRANSLATE_NOOP("ServerError", "Неверное значение параметра PostIndex.");
    case 283:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Sq.");
    case 284:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр Login.");
    case 285:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр PasData.");
    case 286:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра PasData.");
    case 287:
        return QT_TRANSLATE_NOOP("ServerError", "Запись с таким логином уже существует.");
    case 288:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра View.");
    case 289:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Month.");
    case 290:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра DateStart.");
    case 291:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра DateEnd.");
    case 292:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат поля DateInstall.");
    case 293:
        return QT_TRANSLATE_NOOP("ServerError", "Не найден параметр Action.");
    case 294:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестное значение параметра Action.");
    case 295:
        return QT_TRANSLATE_NOOP("ServerError", "Нет устройств в таблице для указанного концентратора.");
    case 296:
        return QT_TRANSLATE_NOOP("ServerError", "Не найден параметр SessionId.");
    case 297:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра SessionId.");
    case 298:
        return QT_TRANSLATE_NOOP("ServerError", "Указанный пользователь уже вошел в систему.");
    case 299:
        return QT_TRANSLATE_NOOP("ServerError", "Сессия не найдена.");
    case 300:
        return QT_TRANSLATE_NOOP("ServerError", "Таймаут текущей сессии пользователя.");
    case 301:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр Value.");
    case 302:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Value.");
    case 303:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестная команда.");
    case 304:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр TaskId.");
    case 305:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра TaskId.");
    case 306:
        return QT_TRANSLATE_NOOP("ServerError", "Задание не найдено.");
    case 307:
        return QT_TRANSLATE_NOOP("ServerError", "Список лицевых счетов пуст.");
    case 308:
        return QT_TRANSLATE_NOOP("ServerError", "Лицевой счет уже существует.");
    case 309:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр E-Mail.");
    case 310:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр Address.");
    case 311:
        return QT_TRANSLATE_NOOP("ServerError", "Отсутствует параметр Devices.");
    case 312:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат списка устройств.");
    case 313:
        return QT_TRANSLATE_NOOP("ServerError", "Не найдена модель прибора.");
    case 314:
        return QT_TRANSLATE_NOOP("ServerError", "Объект уже существует.");
    case 315:
        return QT_TRANSLATE_NOOP("ServerError", "Неправильный формат параметра Precise.");
    default:
        return QT_TRANSLATE_NOOP("ServerError", "Неизвестная ошибка.");
    }
}

} // namespace

QString serverErrorText(quint16 code)
{
    return QCoreApplication::translate("ServerError", sourceText(code));
}
