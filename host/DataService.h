// Stand-in for the server's system library: a named service definition.
#pragma once
#include <map>
#include <string>

namespace KORVEL { namespace Orl {

// A named service with string properties, as the server's configuration hands
// it to a driver. Property keys are compared exactly.
class DataService {
public:
    explicit DataService(const std::string& name = std::string());
    virtual ~DataService();

    const std::string& getName() const;
    void setProperty(const std::string& key, const std::string& value);

    // The property's text, or defaultValue when the key is absent.
    std::string getPropertyValueAsString(const std::string& key, const std::string& defaultValue) const;
    // "true", "yes", "on" and "1" (any case) are true; any other present text is
    // false; an absent key gives defaultValue.
    bool getPropertyValueAsBool(const std::string& key, bool defaultValue) const;

    // Reads "key=value" lines ("#" starts a comment); false if the file can't be read.
    bool loadProperties(const std::string& path);

private:
    std::string name_;
    std::map<std::string, std::string> props_;
};

}} // namespace KORVEL::Orl

// snprintf and strlcpy with their usual contracts, as the system library exports them.
extern "C" int intl_snprintf(char* buffer, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
extern "C" size_t intl_strlcpy(char* dest, const char* src, size_t size);
