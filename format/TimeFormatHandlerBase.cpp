#include "format/TimeFormatHandlerBase.h"

namespace DataTypes {

bool TimeFormatHandlerBase::IsDone() { return true; }
void TimeFormatHandlerBase::OnEndOfParse() {}
void TimeFormatHandlerBase::OnFieldAM(Case) { m_ok = false; }
void TimeFormatHandlerBase::OnFieldPM(Case c) { OnFieldAM(c); }
void TimeFormatHandlerBase::OnFieldD() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldDD() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldDDD() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldDAY(Case) { m_ok = false; }
void TimeFormatHandlerBase::OnFieldDY(Case) { m_ok = false; }
void TimeFormatHandlerBase::OnFieldHH() { OnFieldHH12(); }
void TimeFormatHandlerBase::OnFieldHH12() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldHH24() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldMI() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldMIC() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldMM() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldMON(Case) { m_ok = false; }
void TimeFormatHandlerBase::OnFieldMONTH(Case) { m_ok = false; }
void TimeFormatHandlerBase::OnFieldMS() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldRM(Case) { m_ok = false; }
void TimeFormatHandlerBase::OnFieldQ() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldSS() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldSE() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldFF() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldFFn(char) { m_ok = false; }
void TimeFormatHandlerBase::OnFieldSSSSS() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldTZD() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldTZH() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldTZM() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldTZR() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldW() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldWW() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldRR() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldRRRR() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldY() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldYY() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldYYY() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldYYYY() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldDAYS() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldHOURS() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldMINUTES() { m_ok = false; }
void TimeFormatHandlerBase::OnFieldSECONDS() { m_ok = false; }

} // namespace DataTypes
