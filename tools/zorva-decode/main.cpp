// zorva-decode: prints a captured M-Bus telegram, written in hexadecimal, as readable Russian text
// or, with --json, as JSON. Reads a file, or standard input when no file (or "-") is given.
// Exit status: 0 everything decoded, 1 a frame could not be decoded, 2 unreadable input.

#include "common/hex_dump.h"
#include "common/mbus_telegram.h"
#include "common/mbus_telegram_text.h"
#include "tools/zorva-decode/telegram_json.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <cstdio>

namespace
{

constexpr int kDecoded = 0;
constexpr int kNotDecoded = 1;
constexpr int kBadInput = 2;

QString trDecode(const char *text)
{
    return QCoreApplication::translate("zorva-decode", text);
}

void print(FILE *stream, const QString &text)
{
    std::fputs(text.toUtf8().constData(), stream);
    std::fputs("\n", stream);
}

bool readInput(const QString &name, QByteArray *input)
{
    QFile file;
    bool opened = false;
    if (name.isEmpty() || name == QLatin1String("-")) {
        opened = file.open(stdin, QIODevice::ReadOnly);
    } else {
        file.setFileName(name);
        opened = file.open(QIODevice::ReadOnly);
    }
    if (!opened) {
        print(stderr, trDecode("Не удалось открыть %1: %2").arg(name, file.errorString()));
        return false;
    }
    *input = file.readAll();
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zorva-decode"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        trDecode("Разбор телеграммы M-Bus, записанной шестнадцатеричными байтами "
                 "(например, \"68 1B 1B 68 08 01 72 ...\")."));
    parser.addHelpOption();
    const QCommandLineOption json(QStringLiteral("json"), trDecode("Вывести результат в формате JSON."));
    parser.addOption(json);
    parser.addPositionalArgument(
        QStringLiteral("file"),
        trDecode("Файл с телеграммой; без него или \"-\" читается стандартный ввод."));
    parser.process(app);

    const QStringList files = parser.positionalArguments();
    if (files.size() > 1) {
        print(stderr, trDecode("Укажите не более одного файла."));
        return kBadInput;
    }
    QByteArray input;
    if (!readInput(files.value(0), &input))
        return kBadInput;
    const QString text = QString::fromLatin1(input);
    QByteArray bytes;
    HexDumpFault fault;
    if (!parseHexDump(text, &bytes, &fault)) {
        print(stderr, trDecode("Неверные шестнадцатеричные данные: \"%1\" (группа %2). Ожидаются пары "
                               "шестнадцатеричных цифр.")
                          .arg(fault.token)
                          .arg(fault.index + 1));
        return kBadInput;
    }
    if (bytes.isEmpty()) {
        print(stderr, trDecode("Нет данных для разбора."));
        return kBadInput;
    }

    const QVector<mbus::ReceivedPiece> pieces = mbus::decodeReceived(bytes);
    if (parser.isSet(json))
        print(stdout,
              QString::fromUtf8(QJsonDocument(receivedToJson(pieces)).toJson(QJsonDocument::Indented)));
    else
        print(stdout, telegramToRussianText(bytes));
    const bool failed = !pieces.isEmpty() && pieces.last().kind == mbus::ReceivedPiece::Kind::Failure;
    return failed ? kNotDecoded : kDecoded;
}
