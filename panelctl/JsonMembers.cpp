#include "panelctl/JsonMembers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

namespace {

/// Goes through the text once. What is not a name is skipped: its syntax is known to be right.
class Scan
{
public:
    explicit Scan(const QByteArray& json) : m_json(json)
    {
        for (; m_at < m_json.size(); ++m_at) {
            look(m_json.at(m_at));
        }
    }

    const std::vector<RepeatedMember>& found() const { return m_found; }

private:
    /// An object or a list that has begun.
    struct Level
    {
        bool isObject;
        QString place;
        QSet<QString> names = {};
        QString member = {}; ///< The last name.
    };

    void look(char sign)
    {
        switch (sign) {
        case '{':
        case '[':
            m_levels.push_back({sign == '{', place()});
            m_expectsName = sign == '{';
            break;
        case '}':
        case ']':
            m_levels.pop_back();
            break;
        case ',':
            m_expectsName = m_levels.back().isObject;
            break;
        case '"':
            readText();
            break;
        default:
            break;
        }
    }

    void readText()
    {
        const int begin = m_at;
        for (++m_at; m_json.at(m_at) != '"'; ++m_at) {
            m_at += m_json.at(m_at) == '\\' ? 1 : 0;
        }
        if (m_expectsName) {
            m_expectsName = false;
            takeName(begin);
        }
    }

    void takeName(int begin)
    {
        // A letter may be written in several ways.
        const QByteArray list = '[' + m_json.mid(begin, m_at + 1 - begin) + ']';
        Level& level = m_levels.back();
        level.member = QJsonDocument::fromJson(list).array().at(0).toString();
        if (level.names.contains(level.member)) {
            m_found.push_back({place(), begin});
        }
        level.names.insert(level.member);
    }

    /// Of the value that comes next.
    QString place() const
    {
        if (m_levels.empty()) {
            return {};
        }
        const Level& level = m_levels.back();
        return level.place.isEmpty() || level.member.isEmpty()
                   ? level.place + level.member
                   : level.place + QLatin1Char('.') + level.member;
    }

    const QByteArray& m_json;
    int m_at = 0;
    bool m_expectsName = false;
    std::vector<Level> m_levels;
    std::vector<RepeatedMember> m_found;
};

} // namespace

std::vector<RepeatedMember> repeatedMembers(const QByteArray& json)
{
    return Scan(json).found();
}
