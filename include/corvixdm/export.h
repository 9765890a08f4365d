/// \file export.h
/// How the library's names are marked for export and import. Everything that depends on the compiler is here.
#pragma once

#if defined(_WIN32)
#if defined(CORVIXDM_BUILD)
#define CORVIXDM_API __declspec(dllexport)
#else
#define CORVIXDM_API __declspec(dllimport)
#endif
#else
#define CORVIXDM_API
#endif

#if defined(_MSC_VER)
// Exported classes hold standard containers; library and caller are built with the same compiler.
#pragma warning(disable : 4251 4275)
// Virtual bases are inherited by dominance on purpose.
#pragma warning(disable : 4250)
#endif

// Interfaces derived from IUnknown have no virtual destructor, by COM's own rule.
#if defined(__GNUC__)
#define CORVIXDM_COM_INTERFACES_BEGIN \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wnon-virtual-dtor\"")
#define CORVIXDM_COM_INTERFACES_END _Pragma("GCC diagnostic pop")
#else
#define CORVIXDM_COM_INTERFACES_BEGIN
#define CORVIXDM_COM_INTERFACES_END
#endif
