#include <datastorage/cache/CacheDirectory_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <cstdio>
#include <string>

/// A second process for the tests of cache directories. Makes its own directory below the one given,
/// puts a file into it, says "ready" and waits for a line of input: "leave" ends it in order, the end
/// of the input without giving anything back.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        return 2;
    const QString path =
        QString::fromLocal8Bit(argv[1]) + '/' + QString::number(QCoreApplication::applicationPid()) + '/';
    vx::datastorage::CacheDirectory directory;
    if (!directory.create(path, true))
        return 3;
    QFile file(path + "samples.bmd");
    if (!file.open(QIODevice::WriteOnly) || file.write("samples") != 7 || !file.flush())
        return 4;
    std::puts("ready");
    std::fflush(stdout);
    std::string line(16, '\0');
    if (std::fgets(line.data(), static_cast<int>(line.size()), stdin) == nullptr)
        std::_Exit(0);
    return 0;
}
