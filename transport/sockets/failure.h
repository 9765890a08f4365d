/// How the transport's own functions fail: they throw a Failure, which the public operations turn into a
/// result and the last error code. No exception leaves the transport.
#pragma once

#include <winsock2.h>

#include <windows.h>

#include <exception>
#include <new>

namespace CorvixTransport {

class Failure : public std::exception {
public:
    /// A system error code: Win32, Winsock or WinHTTP.
    explicit Failure(unsigned long code) : code_(code) {}

    unsigned long Code() const { return code_; }
    const char* what() const noexcept override { return "network failure"; }

private:
    unsigned long code_;
};

inline void ThrowUnless(bool succeeded, unsigned long code) {
    if (!succeeded) throw Failure(code);
}

/// Runs the work of one public operation. \return the system error code that it failed with, else 0.
template <class Work>
unsigned long RunGuarded(Work&& work) {
    try {
        work();
        return ERROR_SUCCESS;
    } catch (const Failure& failure) {
        return failure.Code();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (const std::exception&) {
        return ERROR_INTERNAL_ERROR;
    }
}

}  // namespace CorvixTransport
