#include "render.h"

#include <cstdio>

namespace q310cli
{
namespace
{
// A key that ends in a unit ("active_kWh") is shown with its label ("active"), its value with the
// meter's resolution and the unit behind it ("12345.67 kWh").
struct Unit
{
    const char* suffix;
    const char* shown;
    int decimals;
};
const Unit kUnits[] = {{"_kWh", "kWh", 2}, {"_kvarh", "kvarh", 2}, {"_V", "V", 1},
                       {"_A", "A", 2},     {"_W", "W", 0},         {"_var", "var", 0},
                       {"_Hz", "Hz", 2},   {"_kW", "kW", 2},       {"power_factor", "", 3}};

const Unit* UnitOf(const std::string& aKey, const std::string& aSection)
{
    // The battery's voltage comes in hundredths, the network's in tenths.
    static const Unit battery{"_V", "V", 2};
    for (const Unit& unit : kUnits)
    {
        const std::string suffix = unit.suffix;
        if (aKey.size() >= suffix.size() &&
            aKey.compare(aKey.size() - suffix.size(), suffix.size(), suffix) == 0)
            return aSection == "battery" && suffix == "_V" ? &battery : &unit;
    }
    return nullptr;
}

std::string Label(const std::string& aKey)
{
    std::string label = aKey;
    const Unit* unit = UnitOf(aKey, "");
    if (unit != nullptr && unit->shown[0] != '\0')
        label.resize(label.size() - std::string(unit->suffix).size());
    for (char& c : label)
        if (c == '_')
            c = ' ';
    return label;
}

// "yyyy-mm-ddThh:mm:ss" of the JSON as "yyyy-mm-dd hh:mm:ss".
std::string Text(const std::string& aText)
{
    if (aText.size() == 19 && aText[4] == '-' && aText[10] == 'T' && aText[13] == ':')
        return aText.substr(0, 10) + " " + aText.substr(11);
    return aText;
}

std::string Scalar(const Json& aValue, const Unit* pUnit = nullptr, bool aWithUnit = true)
{
    if (aValue.is_string())
        return Text(aValue.get<std::string>());
    if (aValue.is_null())
        return "-";
    if (aValue.is_boolean())
        return aValue.get<bool>() ? "yes" : "no";
    if (pUnit != nullptr && aValue.is_number())
    {
        char number[48];
        snprintf(number, sizeof(number), "%.*f", pUnit->decimals, aValue.get<double>());
        return std::string(number) +
               (aWithUnit && pUnit->shown[0] != '\0' ? std::string(" ") + pUnit->shown : "");
    }
    return aValue.dump();
}

bool AllScalars(const Json& aValue)
{
    for (const auto& item : aValue)
        if (item.is_structured())
            return false;
    return true;
}

// A small record of short keys (the tariffs T1..T4) fits on one line.
bool Inline(const Json& aValue)
{
    if (!aValue.is_object() || !AllScalars(aValue))
        return false;
    for (const auto& item : aValue.items())
        if (item.key().size() > 3)
            return false;
    return true;
}

void Indented(std::string& aOut, const std::string& aText, size_t aIndent)
{
    size_t start = 0;
    while (start < aText.size())
    {
        size_t end = aText.find('\n', start);
        if (end == std::string::npos)
            end = aText.size();
        aOut.append(aIndent, ' ');
        aOut.append(aText, start, end - start);
        aOut += '\n';
        start = end + 1;
    }
}

void Object(std::string& aOut, const Json& aObject, size_t aIndent, const std::string& aSection)
{
    // A text from the library says it all; the structured copy beside it is for --json.
    if (aObject.contains("text"))
    {
        Indented(aOut, aObject["text"].get<std::string>(), aIndent);
        return;
    }
    size_t width = 0;
    for (const auto& item : aObject.items())
        if (item.key() != "raw" && (!item.value().is_structured() || Inline(item.value()) ||
                                    (item.value().is_array() && AllScalars(item.value()))))
            width = std::max(width, Label(item.key()).size());
    for (const auto& item : aObject.items())
    {
        // The export texts behind the values are for --json.
        if (item.key() == "raw")
            continue;
        const std::string label = Label(item.key());
        const Unit* unit = UnitOf(item.key(), aSection);
        const Json& value = item.value();
        const std::string head = std::string(aIndent, ' ') + label + ":";
        if (!value.is_structured())
            aOut += head + " " + std::string(width - label.size(), ' ') + Scalar(value, unit) + "\n";
        else if (Inline(value) || (value.is_array() && AllScalars(value)))
        {
            // Tariffs in one line, the unit once at its end.
            std::string line;
            for (const auto& part : value.items())
                line += (line.empty()       ? ""
                         : value.is_array() ? ", "
                                            : "  ") +
                        (value.is_object() ? part.key() + " " : "") + Scalar(part.value(), unit, false);
            if (unit != nullptr && unit->shown[0] != '\0')
                line += std::string(" ") + unit->shown;
            aOut += head + " " + std::string(width - label.size(), ' ') + line + "\n";
        }
        else if (value.is_array())
        {
            aOut += head + "\n";
            for (const auto& element : value)
            {
                std::string line;
                if (element.is_object() && element.contains("value") && element.contains("at"))
                    line = Scalar(element["value"], unit) + " at " + Scalar(element["at"]);
                else if (element.is_object())
                    for (const auto& part : element.items())
                        line += (line.empty() ? "" : ", ") + Label(part.key()) + " " + Scalar(part.value());
                else
                    line = Scalar(element);
                aOut += std::string(aIndent + 2, ' ') + "- " + line + "\n";
            }
        }
        else
        {
            aOut += head + "\n";
            Object(aOut, value, aIndent + 2, item.key());
        }
    }
}
} // namespace

std::string RenderText(const Json& aResult)
{
    std::string out;
    if (!aResult.is_object())
        return Scalar(aResult) + "\n";
    Object(out, aResult, 0, "");
    return out;
}

} // namespace q310cli
