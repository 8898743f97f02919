// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_FAILINGSCENARIOS_H
#define TESTS_COMMUNICATOR_FAILINGSCENARIOS_H

#include "enginebench.h"

#include <QStringList>

#include <atomic>
#include <functional>

/// Which of the calls of a kind fails, in the order in which the threads that have the plan make them.
/// Others, the server's among them, are not looked at.
struct Plan
{
    /// Whether the calls after it fail, too.
    enum class Lasts { No, Yes };

    explicit Plan(int number = 0, Lasts all = Lasts::No, int error = 0)
        : failing(number)
        , lasts(all)
        , sendError(error)
    {}

    std::atomic<int> calls{0}; ///< so far
    const int failing;         ///< the number of the one that fails, from 1; 0 for none
    const Lasts lasts;
    /// With it, only sending fails, from that call on, and its connection lives.
    const int sendError;
};
inline thread_local Plan* plan = nullptr;

/// Whether this call is one that fails.
inline bool callFails()
{
    if (plan == nullptr || plan->sendError != 0) {
        return false;
    }
    const int call = ++plan->calls;
    return call == plan->failing ||
           (plan->lasts == Plan::Lasts::Yes && plan->failing != 0 && call > plan->failing);
}

/// The calling thread, the thread of a loop, or both have a plan while it lives.
class Planned
{
public:
    Planned(Plan& wanted, bool here, IoLoop* loop);
    ~Planned();

private:
    IoLoop* const m_loop;
    Q_DISABLE_COPY_MOVE(Planned)
};

/// Asks on the thread that does the work according to @p wanted.
HttpReply askWith(Bench& bench, const HttpRequest& asked, bool blocking, Plan& wanted);

/// One of the things that a program does with the transport.
struct Scenario
{
    const char* name;
    /// Does it once, with @p number, that of the call that fails. @return what did not hold, empty if all
    /// did.
    /// @p isHurt says whether the failure was noticed: it ended a request, or a stream had to be opened anew.
    std::function<QString(Plan& wanted, int number, bool& isHurt)> run;
    bool canBeHurt = true;     ///< a failure can be told from what happens without one
    bool canEndWithout = true; ///< it ends although the calls fail from one on
};
/// get, put, form, download, upload, stream and shutdown, and blocking and non-blocking where there are both;
/// with @p tls, a get over TLS instead.
std::vector<Scenario> scenarios(bool tls = false);
/// Those of them that do their work on the caller's thread, over TLS, too.
std::vector<Scenario> blockingScenarios();

/// Runs @p scenario with each call failing in turn, until none is left that has not failed, and then looks
/// for descriptors that were left open. @return what did not hold, empty if all did.
QString failInTurn(const Scenario& scenario, Plan::Lasts lasts, int mostCalls);

/// One row for each of @p all and each way to fail that it takes, named and numbered.
void rowsOf(const std::vector<Scenario>& all);

Q_DECLARE_METATYPE(Plan::Lasts)

#endif
