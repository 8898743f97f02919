// SPDX-License-Identifier: MIT
#include "communicator/http/curlstate.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

class TestCurlState : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void eachCodeStandsForItsState_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("code");
        const auto row = [](int state, CURLcode code) {
            QTest::newRow(curl_easy_strerror(code)) << state << int(code);
        };
        row(State::Success, CURLE_OK);
        row(State::InvalidRequest, CURLE_URL_MALFORMAT);
        row(State::HostNotFound, CURLE_COULDNT_RESOLVE_HOST);
        row(State::Unreachable, CURLE_COULDNT_CONNECT);
        row(State::TimedOut, CURLE_OPERATION_TIMEDOUT);
        for (const CURLcode code :
             {CURLE_SSL_CONNECT_ERROR, CURLE_SSL_CERTPROBLEM, CURLE_SSL_CIPHER,
              CURLE_PEER_FAILED_VERIFICATION, CURLE_SSL_CACERT_BADFILE, CURLE_SSL_PINNEDPUBKEYNOTMATCH}) {
            row(State::TlsFailure, code);
        }
        row(State::Broken, CURLE_RECV_ERROR);
        row(State::Broken, CURLE_SEND_ERROR);
    }
    void eachCodeStandsForItsState()
    {
        QFETCH(int, state);
        QFETCH(int, code);
        QCOMPARE(int(stateOfCurlCode(static_cast<CURLcode>(code))), state);
    }
};

QTEST_GUILESS_MAIN(TestCurlState)
#include "tst_curlstate.moc"
