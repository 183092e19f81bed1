#include "format/internal/NameTables.h"

namespace DataTypes {
namespace internal {

const NameRow g_monthNames[3][12] = {
    {"January", "February", "March", "April", "May", "June", "July", "August", "September", "October", "November",
     "December"},
    {"JANUARY", "FEBRUARY", "MARCH", "APRIL", "MAY", "JUNE", "JULY", "AUGUST", "SEPTEMBER", "OCTOBER", "NOVEMBER",
     "DECEMBER"},
    {"january", "february", "march", "april", "may", "june", "july", "august", "september", "october", "november",
     "december"},
};

const NameRow g_monthAbbrevs[3][12] = {
    {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"},
    {"JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"},
    {"jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"},
};

const NameRow g_romanMonths[3][12] = {
    {"I", "Ii", "Iii", "Iv", "V", "Vi", "Vii", "Viii", "Ix", "X", "Xi", "Xii"},
    {"I", "II", "III", "IV", "V", "VI", "VII", "VIII", "IX", "X", "XI", "XII"},
    {"i", "ii", "iii", "iv", "v", "vi", "vii", "viii", "ix", "x", "xi", "xii"},
};

const NameRow g_dayNames[3][7] = {
    {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"},
    {"SUNDAY", "MONDAY", "TUESDAY", "WEDNESDAY", "THURSDAY", "FRIDAY", "SATURDAY"},
    {"sunday", "monday", "tuesday", "wednesday", "thursday", "friday", "saturday"},
};

const NameRow g_dayAbbrevs[3][7] = {
    {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"},
    {"SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"},
    {"sun", "mon", "tue", "wed", "thu", "fri", "sat"},
};

} // namespace internal
} // namespace DataTypes
