// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Symptoms.h"

#include <algorithm>

namespace server {

const QVector<Symptoms::Symptom>& Symptoms::all()
{
    // The ids are far from any number that somebody would type as the name of a symptom: on the wire a shipped symptom
    // goes by its number and one of the patient's own by its text, in one object.
    static const QVector<Symptom> symptoms{
        {700101, {QStringLiteral("Headache"), QStringLiteral("Головная боль")}},
        {700102, {QStringLiteral("Dizziness"), QStringLiteral("Головокружение")}},
        {700103, {QStringLiteral("Tiredness"), QStringLiteral("Усталость")}},
        {700104, {QStringLiteral("Lack of energy in the morning"), QStringLiteral("Вялость по утрам")}},
        {700105, {QStringLiteral("Trouble falling asleep"), QStringLiteral("Трудно заснуть")}},
        {700106, {QStringLiteral("Restless sleep"), QStringLiteral("Беспокойный сон")}},
        {700107, {QStringLiteral("Sleepiness during the day"), QStringLiteral("Сонливость днём")}},
        {700108, {QStringLiteral("Irritability"), QStringLiteral("Раздражительность")}},
        {700109, {QStringLiteral("Inner unrest"), QStringLiteral("Внутреннее беспокойство")}},
        {700110, {QStringLiteral("Low mood"), QStringLiteral("Плохое настроение")}},
        {700111, {QStringLiteral("Poor concentration"), QStringLiteral("Трудно сосредоточиться")}},
        {700112, {QStringLiteral("Forgetfulness"), QStringLiteral("Забывчивость")}},
        {700113, {QStringLiteral("Tired eyes"), QStringLiteral("Усталость глаз")}},
        {700114, {QStringLiteral("Ringing in the ears"), QStringLiteral("Звон в ушах")}},
        {700115, {QStringLiteral("Stuffy or runny nose"), QStringLiteral("Заложенность носа или насморк")}},
        {700116, {QStringLiteral("Sore throat"), QStringLiteral("Боль в горле")}},
        {700117, {QStringLiteral("Cough"), QStringLiteral("Кашель")}},
        {700118, {QStringLiteral("Shortness of breath"), QStringLiteral("Одышка")}},
        {700119, {QStringLiteral("Rapid heartbeat"), QStringLiteral("Учащённое сердцебиение")}},
        {700120, {QStringLiteral("Loss of appetite"), QStringLiteral("Плохой аппетит")}},
        {700121, {QStringLiteral("Nausea"), QStringLiteral("Тошнота")}},
        {700122, {QStringLiteral("Heartburn"), QStringLiteral("Изжога")}},
        {700123, {QStringLiteral("Stomach ache"), QStringLiteral("Боль в животе")}},
        {700124, {QStringLiteral("Bloating"), QStringLiteral("Вздутие живота")}},
        {700125, {QStringLiteral("Irregular digestion"), QStringLiteral("Нерегулярный стул")}},
        {700126, {QStringLiteral("Stiff neck"), QStringLiteral("Скованность шеи")}},
        {700127, {QStringLiteral("Back pain"), QStringLiteral("Боль в спине")}},
        {700128, {QStringLiteral("Joint pain"), QStringLiteral("Боль в суставах")}},
        {700129, {QStringLiteral("Muscle cramps"), QStringLiteral("Судороги в мышцах")}},
        {700130, {QStringLiteral("Cold hands or feet"), QStringLiteral("Холодные руки или ноги")}},
        {700131, {QStringLiteral("Itching or dry skin"), QStringLiteral("Зуд или сухость кожи")}},
        {700132, {QStringLiteral("Sweating"), QStringLiteral("Потливость")}},
    };
    return symptoms;
}

bool Symptoms::contains(int id)
{
    return std::any_of(all().begin(), all().end(), [id](const Symptom& symptom) { return symptom.id == id; });
}

} // namespace server
