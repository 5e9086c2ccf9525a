#pragma once

#include <QByteArray>

/// Returns metrics of the process in the text format of Prometheus, version 0.0.4.
/// \param pages number of open stage pages
QByteArray ProcessMetrics(std::size_t pages);
