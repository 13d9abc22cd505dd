#pragma once

#include <string>

#include "base/clsIHost.h"
#include "base/clsWait.h"
#include "base/modText.h"
#include "cli/clsCliLog.h"

/// Asking a history that another program may have for itself.
namespace AskPatiently {

constexpr int lockTime = 2000;  ///< ms that it may have it
constexpr int askAgain = 20;    ///< ms

/// The answer, or the last one; waits in the host's loop. Says so when nothing was told.
template <class Question>
auto Ask(clsIHost& host, clsCliLog& log, Question question) -> decltype(question()) {
    auto answer = question();
    using State = decltype(answer.Result);
    clsWait wait(host, lockTime);
    wait.SetLongestTurn(askAgain);
    wait.Until([&] {
        if (answer.Result == State::Busy && wait.Waited() > 0) answer = question();
        return answer.Result != State::Busy;
    });
    if (answer.Result == State::Done) return answer;
    log.Say("the history cannot be used: " + (answer.Result == State::Busy
                                                  ? std::string("another program keeps its file locked")
                                                  : modText::FromUtf8(answer.Error)));
    return answer;
}

}  // namespace AskPatiently
