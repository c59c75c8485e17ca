#pragma once

#include <cstddef>

/// Refuses memory that the program, the library and Qt ask for with `new`. RefusedNew.cpp has to be among
/// the sources of the test program: its operators take the place of those of the C++ library.
///
/// One at a time.
class RefusedNew
{
public:
    /// While it lives, blocks of `bytes` and more are refused, on any thread.
    static RefusedNew from(std::size_t bytes) { return {bytes, 0}; }
    /// While it lives, the `number`-th block (from 1 on) that this thread asks for is refused.
    static RefusedNew nth(int number) { return {0, number}; }
    ~RefusedNew();
    RefusedNew(const RefusedNew&) = delete;
    RefusedNew& operator=(const RefusedNew&) = delete;

    /// False under the thread sanitizer, which has to know on whose behalf memory is taken: Qt's hand-over
    /// of memory between threads is not visible to it.
    static bool isPossible();
    /// Blocks that have been refused.
    int count() const;

private:
    RefusedNew(std::size_t bytes, int number);
};
