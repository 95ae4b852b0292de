#include "kov/AttributeMap.h"

#include <stdexcept>

namespace kov {

void AttributeMap::setBool(const std::wstring& key, bool value) { mValues[key] = value; }
void AttributeMap::setInt(const std::wstring& key, int32_t value) { mValues[key] = value; }
void AttributeMap::setInt64(const std::wstring& key, int64_t value) { mValues[key] = value; }
void AttributeMap::setFloat(const std::wstring& key, double value) { mValues[key] = value; }
void AttributeMap::setString(const std::wstring& key, const std::wstring& value) { mValues[key] = value; }
void AttributeMap::setBoolArray(const std::wstring& key, const std::vector<bool>& value) { mValues[key] = value; }
void AttributeMap::setIntArray(const std::wstring& key, const std::vector<int32_t>& value) { mValues[key] = value; }
void AttributeMap::setInt64Array(const std::wstring& key, const std::vector<int64_t>& value) { mValues[key] = value; }
void AttributeMap::setFloatArray(const std::wstring& key, const std::vector<double>& value) { mValues[key] = value; }
void AttributeMap::setStringArray(const std::wstring& key, const std::vector<std::wstring>& value) { mValues[key] = value; }

bool AttributeMap::hasKey(const std::wstring& key) const { return mValues.count(key) != 0; }

std::vector<std::wstring> AttributeMap::getKeys() const {
    std::vector<std::wstring> keys;
    keys.reserve(mValues.size());
    for (const auto& kv : mValues)
        keys.push_back(kv.first);
    return keys;
}

AttributeMap::PrimitiveType AttributeMap::getType(const std::wstring& key) const {
    // The variant's alternatives are declared in the order of PrimitiveType.
    return static_cast<PrimitiveType>(mValues.at(key).index());
}

template <typename T> const T& AttributeMap::get(const std::wstring& key) const {
    const Value& v = mValues.at(key);
    if (const T* p = std::get_if<T>(&v))
        return *p;
    throw std::invalid_argument("attribute has another type");
}

bool AttributeMap::getBool(const std::wstring& key) const { return get<bool>(key); }
int32_t AttributeMap::getInt(const std::wstring& key) const { return get<int32_t>(key); }
int64_t AttributeMap::getInt64(const std::wstring& key) const { return get<int64_t>(key); }
double AttributeMap::getFloat(const std::wstring& key) const { return get<double>(key); }
const std::wstring& AttributeMap::getString(const std::wstring& key) const { return get<std::wstring>(key); }
const std::vector<bool>& AttributeMap::getBoolArray(const std::wstring& key) const { return get<std::vector<bool>>(key); }
const std::vector<int32_t>& AttributeMap::getIntArray(const std::wstring& key) const { return get<std::vector<int32_t>>(key); }
const std::vector<int64_t>& AttributeMap::getInt64Array(const std::wstring& key) const { return get<std::vector<int64_t>>(key); }
const std::vector<double>& AttributeMap::getFloatArray(const std::wstring& key) const { return get<std::vector<double>>(key); }
const std::vector<std::wstring>& AttributeMap::getStringArray(const std::wstring& key) const { return get<std::vector<std::wstring>>(key); }

} // namespace kov
