#pragma once

#include <QString>

// The common library's text for a metering-server result code (0..315). Its table is its own: it
// knows codes the upload's reply table lacks and words some messages differently. Any code it does
// not know gives "Неизвестная ошибка.".
QString serverErrorText(quint16 code);
