#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QTranslator>

#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// A translator that notes every text it is asked for, in order. It knows only the texts it was taught.
/// It is installed while it lives.
class RecordingTranslator : public QTranslator
{
public:
    struct Call
    {
        std::string context;
        std::string text;
        bool hasDisambiguation = false;
        int count = -1;

        bool operator==(const Call&) const = default;
    };

    RecordingTranslator() { EXPECT_TRUE(QCoreApplication::installTranslator(this)); }
    RecordingTranslator(const RecordingTranslator&) = delete;
    RecordingTranslator& operator=(const RecordingTranslator&) = delete;
    ~RecordingTranslator() override { QCoreApplication::removeTranslator(this); }

    /// From now on `text` in `context` is translated to `translation`.
    void teach(const std::string& context, const std::string& text, const QString& translation)
    {
        m_translations[{context, text}] = translation;
    }

    /// From now on every text that was not taught is translated to itself with this in front.
    void setPrefixForAll(const QString& prefix) { m_prefix = prefix; }

    const std::vector<Call>& calls() const { return m_calls; }

    bool isEmpty() const override { return false; }

    QString translate(const char* context, const char* text, const char* disambiguation,
                      int count) const override
    {
        m_calls.push_back({context, text, disambiguation != nullptr, count});
        const auto known = m_translations.find({context, text});
        if (known != m_translations.end()) {
            return known->second;
        }
        return m_prefix.isEmpty() ? QString() : m_prefix + QString::fromUtf8(text);
    }

private:
    std::map<std::pair<std::string, std::string>, QString> m_translations;
    QString m_prefix;
    mutable std::vector<Call> m_calls;
};

inline void PrintTo(const RecordingTranslator::Call& call, std::ostream* stream)
{
    *stream << call.context << ": \"" << call.text << "\", count " << call.count
            << (call.hasDisambiguation ? ", with disambiguation" : "");
}
