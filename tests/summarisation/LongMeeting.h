#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <algorithm>

namespace quillet::test {

/// A made-up meeting of so many words, in turns of its speakers. Now and then something is decided ("we decide on item
/// 7"), or somebody takes something on ("I take task 7"); both are numbered from 1.
struct LongMeeting {
    QString transcript;
    int decisions = 0;
    int tasks = 0;

    explicit LongMeeting(int words) {
        const QStringList speakers{QStringLiteral("Ada Lovelace"), QStringLiteral("Grace"), QStringLiteral("Jürgen"),
                                   QStringLiteral("美咲")};
        const QStringList sentences{
            QStringLiteral("I looked at the numbers of the last quarter and they are better than we had feared."),
            QStringLiteral("The build takes twelve minutes now, which is still too long for a small change!"),
            QStringLiteral("Could somebody tell me what the customer in Köln really asked for?"),
            QStringLiteral("Let us go through the open points one by one before we talk about the plan.")};
        int count = 0;
        for (int turn = 0; count < words; ++turn) {
            QString line = speakers[turn % speakers.size()] + QStringLiteral(": ");
            for (int i = 0; i <= turn % 5; ++i) line += sentences[(turn * 7 + i * 3) % sentences.size()] + u' ';
            if (turn % 23 == 7) line += QStringLiteral("So we decide on item %1. ").arg(++decisions);
            if (turn % 31 == 11) line += QStringLiteral("Then I take task %1. ").arg(++tasks);
            count += static_cast<int>(line.count(u' '));
            transcript += line.trimmed() + u'\n';
        }
    }

    /// What an attentive model answers, whether it is given the transcript, a part of it, or summaries of parts.
    static QString minutes(const QString& prompt) {
        const auto found = [&prompt](const char* pattern, const char* text) {
            QJsonArray all;
            QStringList numbers;
            auto matches = QRegularExpression(QLatin1String(pattern)).globalMatch(prompt);
            while (matches.hasNext()) numbers += matches.next().captured(1);
            numbers.removeDuplicates();
            std::sort(numbers.begin(), numbers.end(), [](auto& a, auto& b) { return a.toInt() < b.toInt(); });
            for (const QString& number : std::as_const(numbers)) all += QString::fromUtf8(text).arg(number);
            return all;
        };
        const QJsonObject object{
            {QStringLiteral("overview"), QStringLiteral("The team „went through“ its open points.")},
            {QStringLiteral("decisions"), found("(?:decide on item |Beschluss )([0-9]+)", "Beschluss %1 – gefasst")},
            {QStringLiteral("actionItems"), found("(?:take task |Aufgabe )([0-9]+)", "Aufgabe %1")},
            {QStringLiteral("nextSteps"), QJsonArray()},
            {QStringLiteral("topics"), QJsonArray{QStringLiteral("plan")}}};
        return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
    }

    [[nodiscard]] QStringList expectedDecisions() const {
        return numbered(QStringLiteral("Beschluss %1 – gefasst"), decisions);
    }
    [[nodiscard]] QStringList expectedTasks() const { return numbered(QStringLiteral("Aufgabe %1"), tasks); }

private:
    static QStringList numbered(const QString& text, int count) {
        QStringList all;
        for (int i = 1; i <= count; ++i) all += text.arg(i);
        return all;
    }
};

} // namespace quillet::test
