// The plainest program that parses a table of numbers: reads the file and gives every cell to
// std::from_chars. "vxdata report" is measured against it.
#include <charconv>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: parse_table FILE\n", stderr);
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary | std::ios::ate);
    if (!file) {
        std::fputs("parse_table: the file cannot be read\n", stderr);
        return 1;
    }
    std::vector<char> text(static_cast<std::size_t>(file.tellg()));
    file.seekg(0);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));

    std::size_t cells = 0;
    double sum = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end) {
        double value = 0;
        const std::from_chars_result parsed = std::from_chars(at, end, value);
        if (parsed.ec == std::errc()) {
            ++cells;
            sum += value;
        }
        at = parsed.ptr;
        while (at < end && *at != ',' && *at != ';' && *at != '\t' && *at != '\n')
            ++at;
        ++at;
    }
    std::printf("%zu numbers, sum %g\n", cells, sum);
    return 0;
}
