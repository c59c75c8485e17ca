#pragma once

#include <QtCore/qglobal.h>

/// Marks what the shared library exports; every other symbol is hidden.
#if defined(VXDATASTORAGE_STATIC)
#define VXDATASTORAGE_EXPORT
#elif defined(VXDATASTORAGE_BUILDING)
#define VXDATASTORAGE_EXPORT Q_DECL_EXPORT
#else
#define VXDATASTORAGE_EXPORT Q_DECL_IMPORT
#endif
