#include "format/TimeFormatParser.h"

namespace DataTypes {
namespace {

// States are named by the mask text read so far.
enum State : uint32_t {
    Start = 0, Quoted,
    A, AM, P, PM,
    D, DD, DDD, DA, DAY, DAYS, DY,
    F, FF, FFn, FM, FX,
    H, HH, HH1, HH12, HH2, HH24, HO, HOU, HOUR, HOURS,
    M, MI, MIC, MIN, MINU, MINUT, MINUTE, MINUTES, MM, MO, MON, MONT, MONTH, MS,
    Q,
    R, RM, RR, RRR, RRRR,
    S, SE, SEC, SECO, SECON, SECOND, SECONDS, SS, SSS, SSSS, SSSSS,
    T, TZ, TZD, TZH, TZM, TZR,
    W, WW,
    Y, YY, YYY, YYYY
};

// ASCII only: bytes above 127 are never letters of a field, whatever the locale.
char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

TimeFormatParser::Case caseOf(const char* text, size_t n) {
    bool allUpper = true, allLower = true;
    for (size_t k = 0; k < n; ++k) {
        if (!(text[k] >= 'A' && text[k] <= 'Z')) allUpper = false;
        if (!(text[k] >= 'a' && text[k] <= 'z')) allLower = false;
    }
    return allUpper ? TimeFormatParser::Upper : allLower ? TimeFormatParser::Lower : TimeFormatParser::Mixed;
}

} // namespace

void TimeFormatParser::OnFieldFM() {
    if (m_fillMode == 0) m_fillMode = 1;
    else if (m_fillMode == 1) m_fillMode = 0;
}

bool TimeFormatParser::Parse(const char* mask, size_t length) {
    if (mask == nullptr && length != 0) return false;
    size_t i = 0;
    size_t start = 0; // where the pending field's text begins
    // A transition of the middle column: one step forward into `s`.
    auto go = [&](State s) { m_state = s; ++i; };
    // Any other character: the state resolves, the scan restarts from Start.
    auto hold = [&]() { m_state = Start; };
    auto back = [&](size_t k) { i -= k; m_state = Start; };
    auto literal = [&](size_t k) { OnChar(mask[i - k]); };
    auto fieldCase = [&](size_t n) { return caseOf(mask + start, n); };

    while (i <= length) {
        if (!m_ok) return false;
        const char c = i < length ? mask[i] : '\0';
        const char u = upper(c);
        switch (m_state) {
        case Start:
            start = i;
            switch (u) {
            case '"': go(Quoted); break;
            case 'A': go(A); break;
            case 'D': go(D); break;
            case 'F': go(F); break;
            case 'H': go(H); break;
            case 'M': go(M); break;
            case 'P': go(P); break;
            case 'Q': go(Q); break;
            case 'R': go(R); break;
            case 'S': go(S); break;
            case 'T': go(T); break;
            case 'W': go(W); break;
            case 'Y': go(Y); break;
            default:
                if (c != '\0') OnChar(c);
                ++i;
            }
            break;
        case Quoted:
            if (c == '"') { go(Start); break; }
            OnChar(c); // the closing NUL of an unclosed run included
            ++i;
            break;
        case A:
            if (u == 'M') go(AM); else { literal(1); hold(); }
            break;
        case AM: OnFieldAM(fieldCase(2)); hold(); break;
        case P:
            if (u == 'M') go(PM); else { literal(1); hold(); }
            break;
        case PM: OnFieldPM(fieldCase(2)); hold(); break;
        case D:
            if (u == 'D') go(DD); else if (u == 'A') go(DA); else if (u == 'Y') go(DY);
            else { OnFieldD(); hold(); }
            break;
        case DD:
            if (u == 'D') go(DDD); else { OnFieldDD(); hold(); }
            break;
        case DDD: OnFieldDDD(); hold(); break;
        case DA:
            if (u == 'Y') go(DAY); else { back(1); OnFieldD(); }
            break;
        case DAY:
            if (u == 'S') go(DAYS); else { OnFieldDAY(fieldCase(3)); hold(); }
            break;
        case DAYS: OnFieldDAYS(); hold(); break;
        case DY: OnFieldDY(fieldCase(2)); hold(); break;
        case F:
            if (u == 'X') go(FX); else if (u == 'M') go(FM); else if (u == 'F') go(FF);
            else { literal(1); hold(); }
            break;
        case FF:
            if (c >= '1' && c <= '9') { m_fractionDigit = c; go(FFn); }
            else { OnFieldFF(); hold(); }
            break;
        case FFn: {
            const char digit = m_fractionDigit;
            m_fractionDigit = 0;
            OnFieldFFn(digit);
            hold();
            break;
        }
        case FM: OnFieldFM(); hold(); break;
        case FX:
            if (m_exactMode == 0) m_exactMode = 1;
            else if (m_exactMode == 1) m_exactMode = 0;
            hold();
            break;
        case H:
            if (u == 'H') go(HH); else if (u == 'O') go(HO); else { literal(1); hold(); }
            break;
        case HH:
            if (c == '1') go(HH1); else if (c == '2') go(HH2); else { OnFieldHH(); hold(); }
            break;
        case HH1:
            if (c == '2') go(HH12); else { back(1); OnFieldHH(); }
            break;
        case HH12: OnFieldHH12(); hold(); break;
        case HH2:
            if (c == '4') go(HH24); else { back(1); OnFieldHH(); }
            break;
        case HH24: OnFieldHH24(); hold(); break;
        // An unfinished HOURS is all literal text: the H goes out, the rest is rescanned.
        case HO:
            if (u == 'U') go(HOU); else { literal(2); back(1); }
            break;
        case HOU:
            if (u == 'R') go(HOUR); else { literal(3); back(2); }
            break;
        case HOUR:
            if (u == 'S') go(HOURS); else { literal(4); back(3); }
            break;
        case HOURS: OnFieldHOURS(); hold(); break;
        case M:
            if (u == 'I') go(MI); else if (u == 'M') go(MM); else if (u == 'O') go(MO);
            else if (u == 'S') go(MS); else { literal(1); hold(); }
            break;
        case MI:
            if (u == 'N') go(MIN); else if (u == 'C') go(MIC); else { OnFieldMI(); hold(); }
            break;
        case MIC: OnFieldMIC(); hold(); break;
        case MIN:
            if (u == 'U') go(MINU); else { back(1); OnFieldMI(); }
            break;
        case MINU:
            if (u == 'T') go(MINUT); else { back(2); OnFieldMI(); }
            break;
        case MINUT:
            if (u == 'E') go(MINUTE); else { back(3); OnFieldMI(); }
            break;
        case MINUTE:
            if (u == 'S') go(MINUTES); else { back(4); OnFieldMI(); }
            break;
        case MINUTES: OnFieldMINUTES(); hold(); break;
        case MM: OnFieldMM(); hold(); break;
        case MO:
            if (u == 'N') go(MON); else { literal(2); back(1); }
            break;
        case MON:
            if (u == 'T') go(MONT); else { OnFieldMON(fieldCase(3)); hold(); }
            break;
        case MONT:
            if (u == 'H') go(MONTH); else { back(1); OnFieldMON(fieldCase(3)); }
            break;
        case MONTH: OnFieldMONTH(fieldCase(5)); hold(); break;
        case MS: OnFieldMS(); hold(); break;
        case Q: OnFieldQ(); hold(); break;
        case R:
            if (u == 'R') go(RR); else if (u == 'M') go(RM); else { literal(1); hold(); }
            break;
        case RM: OnFieldRM(fieldCase(2)); hold(); break;
        case RR:
            if (u == 'R') go(RRR); else { OnFieldRR(); hold(); }
            break;
        case RRR:
            if (u == 'R') go(RRRR); else { back(1); OnFieldRR(); }
            break;
        case RRRR: OnFieldRRRR(); hold(); break;
        case S:
            if (u == 'S') go(SS); else if (u == 'E') go(SE); else { literal(1); hold(); }
            break;
        case SE:
            if (u == 'C') go(SEC); else { OnFieldSE(); hold(); }
            break;
        case SEC:
            if (u == 'O') go(SECO); else { back(1); OnFieldSE(); }
            break;
        case SECO:
            if (u == 'N') go(SECON); else { back(2); OnFieldSE(); }
            break;
        case SECON:
            if (u == 'D') go(SECOND); else { back(3); OnFieldSE(); }
            break;
        case SECOND:
            if (u == 'S') go(SECONDS); else { back(4); OnFieldSE(); }
            break;
        case SECONDS: OnFieldSECONDS(); hold(); break;
        case SS:
            if (u == 'S') go(SSS); else { OnFieldSS(); hold(); }
            break;
        case SSS:
            if (u == 'S') go(SSSS); else { back(1); OnFieldSS(); }
            break;
        // SSSS is two SS fields, not SSSSS less one: kept as the language has it.
        case SSSS:
            if (u == 'S') go(SSSSS);
            else {
                OnFieldSS();
                // The second event only when the first left the conversion alive,
                // like every other step.
                if (m_ok) OnFieldSS();
                hold();
            }
            break;
        case SSSSS: OnFieldSSSSS(); hold(); break;
        case T:
            if (u == 'Z') go(TZ); else { literal(1); hold(); }
            break;
        case TZ:
            if (u == 'D') go(TZD); else if (u == 'H') go(TZH); else if (u == 'M') go(TZM);
            else if (u == 'R') go(TZR);
            else { literal(2); hold(); } // the Z of an unknown TZ field is dropped, as always
            break;
        case TZD: OnFieldTZD(); hold(); break;
        case TZH: OnFieldTZH(); hold(); break;
        case TZM: OnFieldTZM(); hold(); break;
        case TZR: OnFieldTZR(); hold(); break;
        case W:
            if (u == 'W') go(WW); else { OnFieldW(); hold(); }
            break;
        case WW: OnFieldWW(); hold(); break;
        case Y:
            if (u == 'Y') go(YY); else { OnFieldY(); hold(); }
            break;
        case YY:
            if (u == 'Y') go(YYY); else { OnFieldYY(); hold(); }
            break;
        case YYY:
            if (u == 'Y') go(YYYY); else { OnFieldYYY(); hold(); }
            break;
        case YYYY: OnFieldYYYY(); hold(); break;
        default: // cannot arise
            return false;
        }
    }
    if (!m_ok) return false;
    OnEndOfParse();
    if (!m_ok || m_state != Start) return false;
    if (!IsDone()) return false;
    return m_ok;
}

} // namespace DataTypes
