// A table of any content is read to its end, or refused at a place.

#include "FuzzSupport.h"

#include <table/TableReader.h>

#include <QtCore/QBuffer>

#include <algorithm>
#include <vector>

using namespace vx::cli;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t rowsAtOnce = 7;
    FuzzWorld::instance();
    QByteArray bytes = FuzzWorld::bytes(data, size);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    TableReader reader(buffer);
    InputError error;
    if (!reader.open(error)) {
        require(!error.text.isEmpty(), "a refusal has a text");
        return 0;
    }
    const int columns = reader.firstRowSize();
    if (reader.hasHeadings())
        require(reader.readHeadings().size() == columns, "a heading for each column");
    else
        reader.setColumnCount(columns);
    std::vector<double> values(rowsAtOnce * static_cast<std::size_t>(std::max(columns, 1)));
    qint64 rows = 0;
    qint64 total = 0;
    while ((rows = reader.readRows(values, error)) > 0)
        total += rows;
    require(rows == 0 || (!error.text.isEmpty() && error.line > 0), "a bad row has a place");
    require(total <= bytes.size() + 1, "no more rows than bytes");
    return 0;
}
