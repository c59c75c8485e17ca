#pragma once

namespace nel::tools {

/// One object of `T` per process, made on first use and alive until the library that holds it is
/// unloaded.
///
/// `T` derives from `Singleton<T>` and has a public constructor `T(Singleton<T>::token)`. Only this
/// template can make a token, so nobody else can make a second `T`.
///
/// A singleton of a shared library must be instantiated inside that library and exported
/// (`extern template` in its header), or every module that calls instance() would get its own object.
///
/// Threads: instance() may be called from any thread; the first call makes the object once.
template <typename T>
class Singleton
{
public:
    /// The proof that an object is being made by instance().
    class token
    {
        friend class Singleton;
        token() {} // not defaulted: an aggregate could be made by anybody
    };

    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

    /// The one object.
    static T& instance();

protected:
    Singleton() = default;
    ~Singleton() = default;
};

// Defined outside the class and so not inline: behind `extern template` no compiler makes a copy of it,
// and of its object, outside the library.
template <typename T>
T& Singleton<T>::instance()
{
    static T object{token()};
    return object;
}

} // namespace nel::tools
