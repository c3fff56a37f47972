// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Failure.h"
#include "server/JsonInput.h"
#include "server/Known.h"
#include "server/QuestionnaireInput.h"
#include "server/Questionnaires.h"
#include "server/Symptoms.h"
#include "tests/fuzz/require.h"

#include <algorithm>
#include <cmath>

using namespace server;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const auto sound = [](double strength) {
        return std::abs(strength) <= QuestionnaireInput::maxIntensity && !(strength == 0 && std::signbit(strength));
    };
    try {
        const JsonInput input(QByteArray(reinterpret_cast<const char*>(data), int(size)));
        const auto questionnaires = QuestionnaireInput::read(input.object());
        require(questionnaires.size() == input.object().size(), "every record has its questionnaire");
        for (auto entry = questionnaires.begin(); entry != questionnaires.end(); ++entry) {
            require(Known::isId(entry.key()), "a record has an id");
            require(entry->custom.size() <= Questionnaires::maxCustom, "there are not too many");
            require(entry->custom.size() + entry->shipped.size() == input.object().value(entry.key()).toObject().size(),
                    "no answer is lost");
            for (auto answer = entry->shipped.begin(); answer != entry->shipped.end(); ++answer)
                require(Symptoms::contains(answer.key()) && sound(answer.value()), "a shipped symptom is known");
            for (auto answer = entry->custom.begin(); answer != entry->custom.end(); ++answer) {
                require(sound(answer.value()), "a strength has its limits");
                require(!answer.key().trimmed().isEmpty() && answer.key().size() <= QuestionnaireInput::maxName &&
                            QStringView(answer.key()).isValidUtf16(),
                        "a symptom has a name");
            }
        }
    } catch (const Failure& failure) {
        require(failure.status() == 400 || failure.status() == 404, "a wrong questionnaire is refused");
    }
    return 0;
}
