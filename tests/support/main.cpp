#include <QtCore/QCoreApplication>

#include <gtest/gtest.h>

/// Runs the tests of a program with a core application, which queued completions need.
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
