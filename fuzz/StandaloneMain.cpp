// Runs a fuzz target once for each file of the given files and directories, without a fuzzer: corpora and
// old findings are replayed with every compiler.

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool replay(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        return false;
    }
    const QByteArray bytes = file.readAll();
    std::printf("%s\n", qPrintable(path));
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                           static_cast<std::size_t>(bytes.size()));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    int replayed = 0;
    for (int at = 1; at < argc; ++at) {
        const QString path = QString::fromLocal8Bit(argv[at]);
        if (QFileInfo(path).isFile()) {
            replayed += replay(path) ? 1 : 0;
            continue;
        }
        QDirIterator files(path, QDir::Files);
        while (files.hasNext())
            replayed += replay(files.next()) ? 1 : 0;
    }
    std::printf("%d inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
