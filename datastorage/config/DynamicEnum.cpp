#include <datastorage/config/DynamicEnum.h>

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace vx::datastorage {

DynamicEnum::DynamicEnum(const QString& name) : m_name(name) {}

DynamicEnum::~DynamicEnum() = default;

const QString& DynamicEnum::getName() const
{
    return m_name;
}

void DynamicEnum::setName(const QString& name)
{
    m_name = name;
}

void DynamicEnum::addKeyValue(const std::string& key, int value)
{
    m_keyValues[key] = value;
}

int DynamicEnum::getValue(const std::string& key) const
{
    bool found = false;
    return getValue(key, found);
}

int DynamicEnum::getValue(const std::string& key, bool& found) const
{
    const auto pair = m_keyValues.find(key);
    found = pair != m_keyValues.end();
    return found ? pair->second : 0;
}

const QString DynamicEnum::getKey(int value) const
{
    const auto pair = std::find_if(m_keyValues.begin(), m_keyValues.end(),
                                   [value](const auto& candidate) { return candidate.second == value; });
    return pair == m_keyValues.end() ? QString() : QString::fromStdString(pair->first);
}

QList<QString> DynamicEnum::getKeys()
{
    QList<QString> keys;
    keys.reserve(getValuesCount());
    for (const auto& [key, value] : m_keyValues) {
        keys.append(QString::fromStdString(key));
    }
    return keys;
}

QList<QString> DynamicEnum::getKeysSortedByValue() const
{
    std::vector<std::pair<const std::string*, int>> pairs;
    pairs.reserve(m_keyValues.size());
    for (const auto& [key, value] : m_keyValues) {
        pairs.emplace_back(&key, value);
    }
    std::sort(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) { return a.second < b.second; });

    QList<QString> keys;
    keys.reserve(getValuesCount());
    for (const auto& [key, value] : pairs) {
        keys.append(QString::fromStdString(*key));
    }
    return keys;
}

const std::unordered_map<std::string, int>& DynamicEnum::getKeyValues() const
{
    return m_keyValues;
}

int DynamicEnum::getValuesCount() const
{
    return static_cast<int>(m_keyValues.size());
}

int DynamicEnum::getMinValue() const
{
    int smallest = std::numeric_limits<int>::max();
    for (const auto& [key, value] : m_keyValues) {
        smallest = std::min(smallest, value);
    }
    return smallest;
}

int DynamicEnum::getMaxValue() const
{
    int largest = std::numeric_limits<int>::min();
    for (const auto& [key, value] : m_keyValues) {
        largest = std::max(largest, value);
    }
    return largest;
}

bool DynamicEnum::isKeyExists(const QString& key) const
{
    return m_keyValues.contains(key.toStdString());
}

bool DynamicEnum::isValueExists(int value) const
{
    return std::any_of(m_keyValues.begin(), m_keyValues.end(),
                       [value](const auto& pair) { return pair.second == value; });
}

} // namespace vx::datastorage
