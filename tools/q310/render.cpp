#include "render.h"

namespace q310cli
{
namespace
{
std::string Label(const std::string& aKey)
{
    std::string label = aKey;
    for (char& c : label)
        if (c == '_')
            c = ' ';
    return label;
}

std::string Scalar(const Json& aValue)
{
    if (aValue.is_string())
        return aValue.get<std::string>();
    if (aValue.is_null())
        return "-";
    if (aValue.is_boolean())
        return aValue.get<bool>() ? "yes" : "no";
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

void Object(std::string& aOut, const Json& aObject, size_t aIndent)
{
    // A text from the library says it all; the structured copy beside it is for --json.
    if (aObject.contains("text"))
    {
        Indented(aOut, aObject["text"].get<std::string>(), aIndent);
        return;
    }
    size_t width = 0;
    for (const auto& item : aObject.items())
        if (!item.value().is_structured() || Inline(item.value()) ||
            (item.value().is_array() && AllScalars(item.value())))
            width = std::max(width, item.key().size());
    for (const auto& item : aObject.items())
    {
        const std::string label = Label(item.key());
        const Json& value = item.value();
        if (!value.is_structured())
            aOut += std::string(aIndent, ' ') + label + ": " + std::string(width - label.size(), ' ') +
                    Scalar(value) + "\n";
        else if (Inline(value) || (value.is_array() && AllScalars(value)))
        {
            std::string line;
            for (const auto& part : value.items())
                line += (line.empty()       ? ""
                         : value.is_array() ? ", "
                                            : "  ") +
                        (value.is_object() ? part.key() + " " : "") + Scalar(part.value());
            aOut += std::string(aIndent, ' ') + label + ": " + std::string(width - label.size(), ' ') + line +
                    "\n";
        }
        else if (value.is_array())
        {
            aOut += std::string(aIndent, ' ') + label + ":\n";
            for (const auto& element : value)
            {
                std::string line;
                if (element.is_object())
                    for (const auto& part : element.items())
                        line += (line.empty() ? "" : ", ") + Label(part.key()) + " " + Scalar(part.value());
                else
                    line = Scalar(element);
                aOut += std::string(aIndent + 2, ' ') + "- " + line + "\n";
            }
        }
        else
        {
            aOut += std::string(aIndent, ' ') + label + ":\n";
            Object(aOut, value, aIndent + 2);
        }
    }
}
} // namespace

std::string RenderText(const Json& aResult)
{
    std::string out;
    if (!aResult.is_object())
        return Scalar(aResult) + "\n";
    Object(out, aResult, 0);
    return out;
}

} // namespace q310cli
