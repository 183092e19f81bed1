// Scanner of date and time masks ("YYYY-MM-DD HH24:MI:SS.FF3 TZH:TZM").
// It knows the language, not the values: Parse walks the mask once, left to
// right, calling one virtual per recognised field and OnChar for every other
// byte. Derived classes print or read the field. One object serves one Parse.
#pragma once
#include <cstddef>
#include <cstdint>

namespace DataTypes {

class TimeFormatParser {
public:
    // How a case-sensitive field was written in the mask.
    enum Case { Mixed = 0, Upper = 1, Lower = 2 };

    // Scans `length` bytes of `mask`. True when the whole mask was scanned with
    // the ok flag still set, no quoted run left open, and IsDone() true.
    bool Parse(const char* mask, size_t length);

    // Toggles the fill mode (0 <-> 1); the only field with a shared meaning.
    virtual void OnFieldFM();
    virtual bool IsDone() = 0;
    virtual void OnChar(char c) = 0;
    virtual void OnFieldAM(Case c) = 0;
    virtual void OnFieldPM(Case c) = 0;
    virtual void OnFieldD() = 0;
    virtual void OnFieldDD() = 0;
    virtual void OnFieldDDD() = 0;
    virtual void OnFieldDAY(Case c) = 0;
    virtual void OnFieldDY(Case c) = 0;
    virtual void OnFieldHH() = 0;
    virtual void OnFieldHH12() = 0;
    virtual void OnFieldHH24() = 0;
    virtual void OnFieldMI() = 0;
    virtual void OnFieldMIC() = 0;
    virtual void OnFieldMM() = 0;
    virtual void OnFieldMON(Case c) = 0;
    virtual void OnFieldMONTH(Case c) = 0;
    virtual void OnFieldMS() = 0;
    virtual void OnFieldRM(Case c) = 0;
    virtual void OnFieldQ() = 0;
    virtual void OnFieldSS() = 0;
    virtual void OnFieldSE() = 0;
    virtual void OnFieldFF() = 0;
    // `digit` is the character '1'..'9' as it stands in the mask.
    virtual void OnFieldFFn(char digit) = 0;
    virtual void OnFieldSSSSS() = 0;
    virtual void OnFieldTZD() = 0;
    virtual void OnFieldTZH() = 0;
    virtual void OnFieldTZM() = 0;
    virtual void OnFieldTZR() = 0;
    virtual void OnFieldW() = 0;
    virtual void OnFieldWW() = 0;
    virtual void OnFieldRR() = 0;
    virtual void OnFieldRRRR() = 0;
    virtual void OnFieldY() = 0;
    virtual void OnFieldYY() = 0;
    virtual void OnFieldYYY() = 0;
    virtual void OnFieldYYYY() = 0;
    virtual void OnFieldDAYS() = 0;
    virtual void OnFieldHOURS() = 0;
    virtual void OnFieldMINUTES() = 0;
    virtual void OnFieldSECONDS() = 0;
    virtual void OnEndOfParse() = 0;

protected:
    TimeFormatParser() = default;
    // Objects live on the stack of one conversion and are never deleted
    // through this type; the destructor is protected so that can't happen.
    ~TimeFormatParser() = default;

    uint32_t m_state = 0;     // scan state; 0 is Start
    int32_t m_fillMode = 0;   // FM: relaxes widths (prints unpadded, reads short fields)
    int32_t m_exactMode = 0;  // FX: strict reading
    bool m_ok = true;         // any handler clears it to fail the conversion
    char m_fractionDigit = 0; // digit of a pending FFn
};

} // namespace DataTypes
