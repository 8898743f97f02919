// SPDX-License-Identifier: MIT
//
// libcurl, loaded with the first connection rather than with the program: it brings some thirty libraries,
// for which a program that makes no call would wait at each of its starts.
//
// What the transport uses of it is defined here under its own name, hidden from everybody else, and passes
// each call on. A newly used function has to be added, or the linker fails.
#include <QLibrary>
#include <QtGlobal>

#include <cstdarg>
#include <curl/curl.h>

// They check the arguments' types where the functions are used.
#undef curl_easy_getinfo
#undef curl_easy_setopt
#undef curl_multi_setopt

namespace {

constexpr int abiVersion = 4;

QFunctionPointer address(const char* name)
{
    static QLibrary* const library = [] {
        auto* const loaded = new QLibrary(QStringLiteral("curl"), abiVersion);
        loaded->setLoadHints(QLibrary::PreventUnloadHint | QLibrary::ResolveAllSymbolsHint);
        if (!loaded->load()) {
            qFatal("libcurl cannot be loaded: %s", qPrintable(loaded->errorString()));
        }
        return loaded;
    }();
    const QFunctionPointer found = library->resolve(name);
    if (found == nullptr) {
        qFatal("libcurl has no %s: %s", name, qPrintable(library->errorString()));
    }
    return found;
}

template <class Function>
Function* loaded(const char* name)
{
    return reinterpret_cast<Function*>(address(name));
}

} // namespace

// The parameters are named as in libcurl's headers.
// NOLINTBEGIN(readability-identifier-naming)

CURLcode curl_global_init(long flags)
{
    static const auto call = loaded<decltype(curl_global_init)>("curl_global_init");
    return call(flags);
}

CURL* curl_easy_init()
{
    static const auto call = loaded<decltype(curl_easy_init)>("curl_easy_init");
    return call();
}

void curl_easy_cleanup(CURL* curl)
{
    static const auto call = loaded<decltype(curl_easy_cleanup)>("curl_easy_cleanup");
    call(curl);
}

// The analyser does not know GCC's va_start, hence the NOLINT.
CURLcode curl_easy_setopt(CURL* curl, CURLoption option, ...)
{
    static const auto call = loaded<decltype(curl_easy_setopt)>("curl_easy_setopt");
    va_list arguments;
    va_start(arguments, option);
    CURLcode code{};
    if (option < CURLOPTTYPE_OBJECTPOINT) {
        const long value = va_arg(arguments, long); // NOLINT(clang-analyzer-valist.Uninitialized)
        code = call(curl, option, value);
    } else {
        void* const value = va_arg(arguments, void*); // NOLINT(clang-analyzer-valist.Uninitialized)
        code = call(curl, option, value);
    }
    va_end(arguments);
    return code;
}

CURLcode curl_easy_getinfo(CURL* curl, CURLINFO info, ...)
{
    static const auto call = loaded<decltype(curl_easy_getinfo)>("curl_easy_getinfo");
    va_list arguments;
    va_start(arguments, info);
    const CURLcode code =
        call(curl, info, va_arg(arguments, void*)); // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(arguments);
    return code;
}

CURLcode curl_easy_send(CURL* curl, const void* buffer, size_t buflen, size_t* n)
{
    static const auto call = loaded<decltype(curl_easy_send)>("curl_easy_send");
    return call(curl, buffer, buflen, n);
}

CURLcode curl_easy_recv(CURL* curl, void* buffer, size_t buflen, size_t* n)
{
    static const auto call = loaded<decltype(curl_easy_recv)>("curl_easy_recv");
    return call(curl, buffer, buflen, n);
}

CURLcode curl_easy_pause(CURL* handle, int bitmask)
{
    static const auto call = loaded<decltype(curl_easy_pause)>("curl_easy_pause");
    return call(handle, bitmask);
}

const char* curl_easy_strerror(CURLcode code)
{
    static const auto call = loaded<decltype(curl_easy_strerror)>("curl_easy_strerror");
    return call(code);
}

CURLM* curl_multi_init()
{
    static const auto call = loaded<decltype(curl_multi_init)>("curl_multi_init");
    return call();
}

CURLMcode curl_multi_cleanup(CURLM* multi_handle)
{
    static const auto call = loaded<decltype(curl_multi_cleanup)>("curl_multi_cleanup");
    return call(multi_handle);
}

CURLMcode curl_multi_setopt(CURLM* multi_handle, CURLMoption option, ...)
{
    static const auto call = loaded<decltype(curl_multi_setopt)>("curl_multi_setopt");
    va_list arguments;
    va_start(arguments, option);
    CURLMcode code{};
    if (option < CURLOPTTYPE_OBJECTPOINT) {
        const long value = va_arg(arguments, long); // NOLINT(clang-analyzer-valist.Uninitialized)
        code = call(multi_handle, option, value);
    } else {
        void* const value = va_arg(arguments, void*); // NOLINT(clang-analyzer-valist.Uninitialized)
        code = call(multi_handle, option, value);
    }
    va_end(arguments);
    return code;
}

CURLMcode curl_multi_add_handle(CURLM* multi_handle, CURL* curl_handle)
{
    static const auto call = loaded<decltype(curl_multi_add_handle)>("curl_multi_add_handle");
    return call(multi_handle, curl_handle);
}

CURLMcode curl_multi_remove_handle(CURLM* multi_handle, CURL* curl_handle)
{
    static const auto call = loaded<decltype(curl_multi_remove_handle)>("curl_multi_remove_handle");
    return call(multi_handle, curl_handle);
}

CURLMsg* curl_multi_info_read(CURLM* multi_handle, int* msgs_in_queue)
{
    static const auto call = loaded<decltype(curl_multi_info_read)>("curl_multi_info_read");
    return call(multi_handle, msgs_in_queue);
}

CURLMcode curl_multi_perform(CURLM* multi_handle, int* running_handles)
{
    static const auto call = loaded<decltype(curl_multi_perform)>("curl_multi_perform");
    return call(multi_handle, running_handles);
}

CURLMcode curl_multi_poll(CURLM* multi_handle, curl_waitfd* extra_fds, unsigned extra_nfds, int timeout_ms,
                          int* ret)
{
    static const auto call = loaded<decltype(curl_multi_poll)>("curl_multi_poll");
    return call(multi_handle, extra_fds, extra_nfds, timeout_ms, ret);
}

CURLMcode curl_multi_wakeup(CURLM* multi_handle)
{
    static const auto call = loaded<decltype(curl_multi_wakeup)>("curl_multi_wakeup");
    return call(multi_handle);
}

CURLMcode curl_multi_socket_action(CURLM* multi_handle, curl_socket_t s, int ev_bitmask, int* running_handles)
{
    static const auto call = loaded<decltype(curl_multi_socket_action)>("curl_multi_socket_action");
    return call(multi_handle, s, ev_bitmask, running_handles);
}

// NOLINTEND(readability-identifier-naming)
