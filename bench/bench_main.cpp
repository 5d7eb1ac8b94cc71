// zorva-bench: the exchange table (the real form offscreen against zorva-sim on a pseudo-terminal,
// both exchange modes, 2400 and 9600 baud), then the Google Benchmark micro-benchmarks.
//   zorva-bench [--table | --micro] [--quick] [--margin MS] [--baud N] [--only OPERATION] [benchmark options]

#include "bench/exchange_table.h"

#include <QApplication>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <vector>

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "qt.qpa.*=false;zorva.*=false");

    bool table = true;
    bool micro = true;
    TableOptions options;
    std::vector<char *> rest{argv[0]};
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--table") == 0) {
            micro = false;
        } else if (std::strcmp(argv[i], "--micro") == 0) {
            table = false;
        } else if (std::strcmp(argv[i], "--quick") == 0) {
            options.quick = true;
        } else if (std::strcmp(argv[i], "--margin") == 0 && i + 1 < argc) {
            options.marginMs = std::atoi(argv[++i]);
        } else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
            options.only = QString::fromLocal8Bit(argv[++i]);
        } else if (std::strcmp(argv[i], "--baud") == 0 && i + 1 < argc) {
            options.bauds = {std::atoi(argv[++i])};
        } else {
            rest.push_back(argv[i]);
        }
    }

    int status = 0;
    if (table) {
        QApplication app(argc, argv);
        const QStringList missed = runExchangeTable(options);
        std::printf("\nTargets not met: %s\n\n",
                    missed.isEmpty() ? "none" : qPrintable(missed.join(QStringLiteral("; "))));
        status = missed.isEmpty() ? 0 : 1;
    }
    if (micro) {
        int count = int(rest.size());
        benchmark::Initialize(&count, rest.data());
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
    }
    return status;
}
