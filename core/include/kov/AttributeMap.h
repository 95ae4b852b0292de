#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "kov/Api.h"

namespace kov {

/// Typed option map with wide-string keys. Setting a key replaces its previous value and type.
class KOV_CORE_API AttributeMap {
public:
    enum PrimitiveType { PT_BOOL, PT_INT, PT_INT64, PT_FLOAT, PT_STRING,
                         PT_BOOL_ARRAY, PT_INT_ARRAY, PT_INT64_ARRAY, PT_FLOAT_ARRAY, PT_STRING_ARRAY };

    void setBool(const std::wstring& key, bool value);
    void setInt(const std::wstring& key, int32_t value);
    void setInt64(const std::wstring& key, int64_t value);
    void setFloat(const std::wstring& key, double value);
    void setString(const std::wstring& key, const std::wstring& value);
    void setBoolArray(const std::wstring& key, const std::vector<bool>& value);
    void setIntArray(const std::wstring& key, const std::vector<int32_t>& value);
    void setInt64Array(const std::wstring& key, const std::vector<int64_t>& value);
    void setFloatArray(const std::wstring& key, const std::vector<double>& value);
    void setStringArray(const std::wstring& key, const std::vector<std::wstring>& value);

    bool hasKey(const std::wstring& key) const;
    /// Keys in ascending order.
    std::vector<std::wstring> getKeys() const;
    /// Throws std::out_of_range for a missing key.
    PrimitiveType getType(const std::wstring& key) const;

    // The getters throw std::out_of_range for a missing key and std::invalid_argument for a
    // value of another type.
    bool getBool(const std::wstring& key) const;
    int32_t getInt(const std::wstring& key) const;
    int64_t getInt64(const std::wstring& key) const;
    double getFloat(const std::wstring& key) const;
    const std::wstring& getString(const std::wstring& key) const;
    const std::vector<bool>& getBoolArray(const std::wstring& key) const;
    const std::vector<int32_t>& getIntArray(const std::wstring& key) const;
    const std::vector<int64_t>& getInt64Array(const std::wstring& key) const;
    const std::vector<double>& getFloatArray(const std::wstring& key) const;
    const std::vector<std::wstring>& getStringArray(const std::wstring& key) const;

private:
    using Value = std::variant<bool, int32_t, int64_t, double, std::wstring,
                               std::vector<bool>, std::vector<int32_t>, std::vector<int64_t>,
                               std::vector<double>, std::vector<std::wstring>>;
    template <typename T> const T& get(const std::wstring& key) const;
    std::map<std::wstring, Value> mValues;
};

} // namespace kov
