// SPDX-License-Identifier: MIT
//
// Each call of the transport to libcurl fails in turn. Left out are those that cannot fail: those that free,
// the two that read what has ended and the text of an error, and the initialisation of the process, which
// happens once, before the first scenario.
#include "failingscenarios.h"

#include <cstdarg>
#include <curl/curl.h>

#undef curl_easy_getinfo
#undef curl_easy_setopt
#undef curl_multi_setopt

// The linker has the transport call the first of each pair, and names libcurl's own function as the second.
extern "C" {

CURL* __real_curl_easy_init();
CURL* __wrap_curl_easy_init()
{
    return callFails() ? nullptr : __real_curl_easy_init();
}

CURLcode __real_curl_easy_setopt(CURL* easy, CURLoption option, ...);
CURLcode __wrap_curl_easy_setopt(CURL* easy, CURLoption option, ...)
{
    va_list arguments;
    va_start(arguments, option);
    CURLcode code = CURLE_OUT_OF_MEMORY;
    if (!callFails()) {
        code = option < CURLOPTTYPE_OBJECTPOINT
                   ? __real_curl_easy_setopt(easy, option, va_arg(arguments, long))
                   : __real_curl_easy_setopt(easy, option, va_arg(arguments, void*));
    }
    va_end(arguments);
    return code;
}

CURLcode __real_curl_easy_getinfo(CURL* easy, CURLINFO info, ...);
CURLcode __wrap_curl_easy_getinfo(CURL* easy, CURLINFO info, ...)
{
    va_list arguments;
    va_start(arguments, info);
    const CURLcode code = callFails() ? CURLE_BAD_FUNCTION_ARGUMENT
                                      : __real_curl_easy_getinfo(easy, info, va_arg(arguments, void*));
    va_end(arguments);
    return code;
}

CURLcode __real_curl_easy_send(CURL* easy, const void* bytes, size_t size, size_t* sent);
CURLcode __wrap_curl_easy_send(CURL* easy, const void* bytes, size_t size, size_t* sent)
{
    return callFails() ? CURLE_SEND_ERROR : __real_curl_easy_send(easy, bytes, size, sent);
}

CURLcode __real_curl_easy_recv(CURL* easy, void* bytes, size_t size, size_t* received);
CURLcode __wrap_curl_easy_recv(CURL* easy, void* bytes, size_t size, size_t* received)
{
    return callFails() ? CURLE_RECV_ERROR : __real_curl_easy_recv(easy, bytes, size, received);
}

CURLcode __real_curl_easy_pause(CURL* easy, int what);
CURLcode __wrap_curl_easy_pause(CURL* easy, int what)
{
    return callFails() ? CURLE_OUT_OF_MEMORY : __real_curl_easy_pause(easy, what);
}

CURLM* __real_curl_multi_init();
CURLM* __wrap_curl_multi_init()
{
    return callFails() ? nullptr : __real_curl_multi_init();
}

CURLMcode __real_curl_multi_setopt(CURLM* multi, CURLMoption option, ...);
CURLMcode __wrap_curl_multi_setopt(CURLM* multi, CURLMoption option, ...)
{
    va_list arguments;
    va_start(arguments, option);
    CURLMcode code = CURLM_UNKNOWN_OPTION;
    if (!callFails()) {
        code = option < CURLOPTTYPE_OBJECTPOINT
                   ? __real_curl_multi_setopt(multi, option, va_arg(arguments, long))
                   : __real_curl_multi_setopt(multi, option, va_arg(arguments, void*));
    }
    va_end(arguments);
    return code;
}

CURLMcode __real_curl_multi_add_handle(CURLM* multi, CURL* easy);
CURLMcode __wrap_curl_multi_add_handle(CURLM* multi, CURL* easy)
{
    return callFails() ? CURLM_OUT_OF_MEMORY : __real_curl_multi_add_handle(multi, easy);
}

CURLMcode __real_curl_multi_remove_handle(CURLM* multi, CURL* easy);
CURLMcode __wrap_curl_multi_remove_handle(CURLM* multi, CURL* easy)
{
    return callFails() ? CURLM_RECURSIVE_API_CALL : __real_curl_multi_remove_handle(multi, easy);
}

CURLMcode __real_curl_multi_perform(CURLM* multi, int* running);
CURLMcode __wrap_curl_multi_perform(CURLM* multi, int* running)
{
    return callFails() ? CURLM_INTERNAL_ERROR : __real_curl_multi_perform(multi, running);
}

CURLMcode __real_curl_multi_poll(CURLM* multi, curl_waitfd* more, unsigned count, int milliseconds,
                                 int* ready);
CURLMcode __wrap_curl_multi_poll(CURLM* multi, curl_waitfd* more, unsigned count, int milliseconds,
                                 int* ready)
{
    return callFails() ? CURLM_OUT_OF_MEMORY
                       : __real_curl_multi_poll(multi, more, count, milliseconds, ready);
}

CURLMcode __real_curl_multi_wakeup(CURLM* multi);
CURLMcode __wrap_curl_multi_wakeup(CURLM* multi)
{
    return callFails() ? CURLM_WAKEUP_FAILURE : __real_curl_multi_wakeup(multi);
}

CURLMcode __real_curl_multi_socket_action(CURLM* multi, curl_socket_t socket, int events, int* running);
CURLMcode __wrap_curl_multi_socket_action(CURLM* multi, curl_socket_t socket, int events, int* running)
{
    return callFails() ? CURLM_INTERNAL_ERROR
                       : __real_curl_multi_socket_action(multi, socket, events, running);
}

} // extern "C"

class TestFailingLibcurl : public QObject
{
    Q_OBJECT

    const std::vector<Scenario> m_scenarios = scenarios();
    const std::vector<Scenario> m_overTls = scenarios(true);

private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void whicheverCallFailsEverythingEndsAndNothingIsLeft_data() { rowsOf(m_scenarios); }
    void whicheverCallFailsEverythingEndsAndNothingIsLeft()
    {
        QFETCH(int, number);
        QFETCH(Plan::Lasts, lasts);
        const QString held = failInTurn(m_scenarios[std::size_t(number)], lasts, 200);
        QVERIFY2(held.isEmpty(), qPrintable(held));
    }

    void whicheverCallFailsATlsConnectionEnds_data() { rowsOf(m_overTls); }
    void whicheverCallFailsATlsConnectionEnds()
    {
        QFETCH(int, number);
        QFETCH(Plan::Lasts, lasts);
        const QString held = failInTurn(m_overTls[std::size_t(number)], lasts, 200);
        QVERIFY2(held.isEmpty(), qPrintable(held));
    }

    void anEngineThatCouldNotBeSetUpIsSetUpWhenItIsNeeded()
    {
        const MisbehavingServer server;
        int number = 1;
        for (bool failed = true; failed; ++number) {
            Plan wanted(number);
            plan = &wanted;
            Bench bench;
            plan = nullptr;
            failed = wanted.calls >= number;
            for (const bool blocking : {true, false}) {
                QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
            }
        }
        QVERIFY2(number > 5, "the calls are not seen");
    }
};

QTEST_GUILESS_MAIN(TestFailingLibcurl)
#include "tst_failinglibcurl.moc"
