// Commands that answer interviews.
#include "host/commands/interview_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/interviews.h"

#include "kz/command.h"
#include "kz/value.h"

namespace kzhost {

namespace {

constexpr ArgumentRow answerArguments[] = {
    {"answer", KZsTYPE_STRING, 0, "the answer to the present question"},
    {"question", KZsTYPE_STRING, KZfCMDARG_READONLY | kzOptional | kzQueryable, "queried, the present question"},
    {"title", KZsTYPE_STRING, KZfCMDARG_READONLY | kzOptional | kzQueryable, "queried, what the interview is about"},
};
constexpr ArgumentRow cancelArguments[] = {{"reason", KZsTYPE_STRING, kzOptional, "why, for the log"}};

void answerQuestion(CInterviews& interviews, CBuiltinCommand& command) { interviews.answer(command.text("answer")); }

Texts queryInterview(CInterviews& interviews, CBuiltinCommand& /*command*/, std::uint32_t index) {
    return {index == 1 ? interviews.question() : interviews.title()};
}

void goBack(CInterviews& interviews, CBuiltinCommand& /*command*/) { interviews.back(); }

void cancelInterview(CInterviews& interviews, CBuiltinCommand& command) { interviews.cancel(command.text("reason")); }

}  // namespace

// What the interviewer does with the answers makes steps of its own.
void kzAddInterviewCommands(CCommandRegistry& registry, const std::shared_ptr<CInterviews>& interviews) {
    kzAddCommands(registry,
                  {
                      {"interview.answer", "Answer", "answers the question of an interview", KZfCMD_UI, answerArguments,
                       kzWith(answerQuestion, interviews), kzWith(queryInterview, interviews)},
                      {"interview.back",
                       "Question Before",
                       "asks the question before",
                       KZfCMD_UI,
                       {},
                       kzWith(goBack, interviews)},
                      {"interview.cancel", "Cancel Interview", "ends an interview without answers", KZfCMD_UI,
                       cancelArguments, kzWith(cancelInterview, interviews)},
                  });
}

}  // namespace kzhost
