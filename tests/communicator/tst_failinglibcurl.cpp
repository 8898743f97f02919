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

// The linker has the transport call what is failing here, and names libcurl's own function as the real one.
// Numbers are passed on in the same way as pointers.
extern "C" {

CURL* realEasyInit() asm("__real_curl_easy_init");
CURL* failingEasyInit() asm("__wrap_curl_easy_init");
CURL* failingEasyInit()
{
    return callFails() ? nullptr : realEasyInit();
}

CURLcode realEasySetopt(CURL* easy, unsigned option, ...) asm("__real_curl_easy_setopt");
CURLcode failingEasySetopt(CURL* easy, unsigned option, ...) asm("__wrap_curl_easy_setopt");
CURLcode failingEasySetopt(CURL* easy, unsigned option, ...)
{
    va_list arguments;
    va_start(arguments, option);
    CURLcode code = CURLE_OUT_OF_MEMORY;
    if (!callFails()) {
        code = realEasySetopt(easy, option,
                              va_arg(arguments, void*)); // NOLINT(clang-analyzer-valist.Uninitialized)
    }
    va_end(arguments);
    return code;
}

CURLcode realEasyGetinfo(CURL* easy, unsigned info, ...) asm("__real_curl_easy_getinfo");
CURLcode failingEasyGetinfo(CURL* easy, unsigned info, ...) asm("__wrap_curl_easy_getinfo");
CURLcode failingEasyGetinfo(CURL* easy, unsigned info, ...)
{
    va_list arguments;
    va_start(arguments, info);
    const CURLcode code =
        callFails()
            ? CURLE_BAD_FUNCTION_ARGUMENT
            : realEasyGetinfo(easy, info,
                              va_arg(arguments, void*)); // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(arguments);
    return code;
}

CURLcode realEasySend(CURL* easy, const void* bytes, size_t size, size_t* sent) asm("__real_curl_easy_send");
CURLcode failingEasySend(CURL* easy, const void* bytes, size_t size,
                         size_t* sent) asm("__wrap_curl_easy_send");
CURLcode failingEasySend(CURL* easy, const void* bytes, size_t size, size_t* sent)
{
    return callFails() ? CURLE_SEND_ERROR : realEasySend(easy, bytes, size, sent);
}

CURLcode realEasyRecv(CURL* easy, void* bytes, size_t size, size_t* received) asm("__real_curl_easy_recv");
CURLcode failingEasyRecv(CURL* easy, void* bytes, size_t size, size_t* received) asm("__wrap_curl_easy_recv");
CURLcode failingEasyRecv(CURL* easy, void* bytes, size_t size, size_t* received)
{
    return callFails() ? CURLE_RECV_ERROR : realEasyRecv(easy, bytes, size, received);
}

CURLcode realEasyPause(CURL* easy, int what) asm("__real_curl_easy_pause");
CURLcode failingEasyPause(CURL* easy, int what) asm("__wrap_curl_easy_pause");
CURLcode failingEasyPause(CURL* easy, int what)
{
    return callFails() ? CURLE_OUT_OF_MEMORY : realEasyPause(easy, what);
}

CURLM* realMultiInit() asm("__real_curl_multi_init");
CURLM* failingMultiInit() asm("__wrap_curl_multi_init");
CURLM* failingMultiInit()
{
    return callFails() ? nullptr : realMultiInit();
}

CURLMcode realMultiSetopt(CURLM* multi, unsigned option, ...) asm("__real_curl_multi_setopt");
CURLMcode failingMultiSetopt(CURLM* multi, unsigned option, ...) asm("__wrap_curl_multi_setopt");
CURLMcode failingMultiSetopt(CURLM* multi, unsigned option, ...)
{
    va_list arguments;
    va_start(arguments, option);
    CURLMcode code = CURLM_UNKNOWN_OPTION;
    if (!callFails()) {
        code = realMultiSetopt(multi, option,
                               va_arg(arguments, void*)); // NOLINT(clang-analyzer-valist.Uninitialized)
    }
    va_end(arguments);
    return code;
}

CURLMcode realMultiAddHandle(CURLM* multi, CURL* easy) asm("__real_curl_multi_add_handle");
CURLMcode failingMultiAddHandle(CURLM* multi, CURL* easy) asm("__wrap_curl_multi_add_handle");
CURLMcode failingMultiAddHandle(CURLM* multi, CURL* easy)
{
    return callFails() ? CURLM_OUT_OF_MEMORY : realMultiAddHandle(multi, easy);
}

CURLMcode realMultiRemoveHandle(CURLM* multi, CURL* easy) asm("__real_curl_multi_remove_handle");
CURLMcode failingMultiRemoveHandle(CURLM* multi, CURL* easy) asm("__wrap_curl_multi_remove_handle");
CURLMcode failingMultiRemoveHandle(CURLM* multi, CURL* easy)
{
    return callFails() ? CURLM_RECURSIVE_API_CALL : realMultiRemoveHandle(multi, easy);
}

CURLMcode realMultiPerform(CURLM* multi, int* running) asm("__real_curl_multi_perform");
CURLMcode failingMultiPerform(CURLM* multi, int* running) asm("__wrap_curl_multi_perform");
CURLMcode failingMultiPerform(CURLM* multi, int* running)
{
    return callFails() ? CURLM_INTERNAL_ERROR : realMultiPerform(multi, running);
}

CURLMcode realMultiPoll(CURLM* multi, curl_waitfd* more, unsigned count, int milliseconds,
                        int* ready) asm("__real_curl_multi_poll");
CURLMcode failingMultiPoll(CURLM* multi, curl_waitfd* more, unsigned count, int milliseconds,
                           int* ready) asm("__wrap_curl_multi_poll");
CURLMcode failingMultiPoll(CURLM* multi, curl_waitfd* more, unsigned count, int milliseconds, int* ready)
{
    return callFails() ? CURLM_OUT_OF_MEMORY : realMultiPoll(multi, more, count, milliseconds, ready);
}

CURLMcode realMultiWakeup(CURLM* multi) asm("__real_curl_multi_wakeup");
CURLMcode failingMultiWakeup(CURLM* multi) asm("__wrap_curl_multi_wakeup");
CURLMcode failingMultiWakeup(CURLM* multi)
{
    return callFails() ? CURLM_WAKEUP_FAILURE : realMultiWakeup(multi);
}

CURLMcode realMultiSocketAction(CURLM* multi, curl_socket_t socket, int events,
                                int* running) asm("__real_curl_multi_socket_action");
CURLMcode failingMultiSocketAction(CURLM* multi, curl_socket_t socket, int events,
                                   int* running) asm("__wrap_curl_multi_socket_action");
CURLMcode failingMultiSocketAction(CURLM* multi, curl_socket_t socket, int events, int* running)
{
    return callFails() ? CURLM_INTERNAL_ERROR : realMultiSocketAction(multi, socket, events, running);
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
