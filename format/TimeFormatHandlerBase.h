// Handler base of the mask scanner: every field fails the conversion unless a
// printing or parsing class overrides it, so each class states only what it
// supports and an unsupported field in a mask fails as a whole.
#pragma once
#include "format/TimeFormatParser.h"

namespace DataTypes {

class TimeFormatHandlerBase : public TimeFormatParser {
public:
    bool IsDone() override;           // true
    void OnEndOfParse() override;     // nothing
    void OnFieldAM(Case c) override;
    void OnFieldPM(Case c) override;  // same as AM
    void OnFieldD() override;
    void OnFieldDD() override;
    void OnFieldDDD() override;
    void OnFieldDAY(Case c) override;
    void OnFieldDY(Case c) override;
    void OnFieldHH() override;        // same as HH12
    void OnFieldHH12() override;
    void OnFieldHH24() override;
    void OnFieldMI() override;
    void OnFieldMIC() override;
    void OnFieldMM() override;
    void OnFieldMON(Case c) override;
    void OnFieldMONTH(Case c) override;
    void OnFieldMS() override;
    void OnFieldRM(Case c) override;
    void OnFieldQ() override;
    void OnFieldSS() override;
    void OnFieldSE() override;
    void OnFieldFF() override;
    void OnFieldFFn(char digit) override;
    void OnFieldSSSSS() override;
    void OnFieldTZD() override;
    void OnFieldTZH() override;
    void OnFieldTZM() override;
    void OnFieldTZR() override;
    void OnFieldW() override;
    void OnFieldWW() override;
    void OnFieldRR() override;
    void OnFieldRRRR() override;
    void OnFieldY() override;
    void OnFieldYY() override;
    void OnFieldYYY() override;
    void OnFieldYYYY() override;
    void OnFieldDAYS() override;
    void OnFieldHOURS() override;
    void OnFieldMINUTES() override;
    void OnFieldSECONDS() override;

protected:
    TimeFormatHandlerBase() = default;
    ~TimeFormatHandlerBase() = default;
};

} // namespace DataTypes
