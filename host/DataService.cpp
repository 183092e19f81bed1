#include "host/DataService.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <strings.h>

namespace KORVEL { namespace Orl {

DataService::DataService(const std::string& name) : name_(name) {}
DataService::~DataService() = default;

const std::string& DataService::getName() const { return name_; }

void DataService::setProperty(const std::string& key, const std::string& value) { props_[key] = value; }

std::string DataService::getPropertyValueAsString(const std::string& key, const std::string& defaultValue) const {
    auto it = props_.find(key);
    return it == props_.end() ? defaultValue : it->second;
}

bool DataService::getPropertyValueAsBool(const std::string& key, bool defaultValue) const {
    auto it = props_.find(key);
    if (it == props_.end()) return defaultValue;
    const char* v = it->second.c_str();
    return strcasecmp(v, "true") == 0 || strcasecmp(v, "yes") == 0 || strcasecmp(v, "on") == 0 ||
           strcmp(v, "1") == 0;
}

static std::string trim(const std::string& s) {
    size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) return std::string();
    size_t e = s.find_last_not_of(" \t\r\n");
    return s.substr(b, e - b + 1);
}

bool DataService::loadProperties(const std::string& path) {
    std::ifstream in(path);
    if (!in) return false;
    std::string line;
    while (std::getline(in, line)) {
        std::string t = trim(line);
        if (t.empty() || t[0] == '#') continue;
        size_t eq = t.find('=');
        if (eq == std::string::npos) continue;
        props_[trim(t.substr(0, eq))] = trim(t.substr(eq + 1));
    }
    return true;
}

}} // namespace KORVEL::Orl

extern "C" int intl_snprintf(char* buffer, size_t size, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    int n = vsnprintf(buffer, size, format, ap);
    va_end(ap);
    return n;
}

extern "C" size_t intl_strlcpy(char* dest, const char* src, size_t size) {
    size_t len = strlen(src);
    if (size != 0) {
        size_t n = len < size - 1 ? len : size - 1;
        memcpy(dest, src, n);
        dest[n] = '\0';
    }
    return len;
}
