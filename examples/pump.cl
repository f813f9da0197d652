/* Calculations for the pumps: unbounded numbers and texts.

     norvane-pm calc check --model pump.pm pump.cl */

/* ------------------------------------------------------------ hydraulics */

namespace Pump.Hydraulics {

  // The shaft's power in kW, by the litres a minute and the bars.
  float hydraulic_kw() = flow * head / 600.0;

  float efficiency() {
    float at_flow := System.Int2Float(flow) / 450.0;
    float loss := (at_flow - 1.0) ^ 2;
    return System.Fmax(0.25, 0.78 - 0.3 * loss);
  }

  // An integer is accepted where a float is expected.
  float motor_kw() {
    float kw := 0;
    switch motor {
    case "kw_1": kw := 1; break;
    case "kw_3": kw := 3; break;
    case "kw_7": kw := 7.5; break;
    default: kw := 15;
    }
    return kw;
  }

  float reserve() =
    Pump.Hydraulics.motor_kw() -
    Pump.Hydraulics.hydraulic_kw() / Pump.Hydraulics.efficiency();

  boolean motor_is_enough() = Pump.Hydraulics.reserve() > 0.0;

  /* The smallest number of stages that gives the head. */
  integer stages_for(float bar) | 1 {
    integer n := 1;
    while n * 2.5 < bar and n < 6 {
      n := n + 1;
    }
    return n;
  }

  /* Steam forms where the pressure is too low for the temperature. The
     pressure of steam is looked up between two points of a coarse table. */
  float steam_bar(integer degrees) {
    integer low := 0;
    float below := 0.006;
    float above := 0.074;
    do {
      if low >= 140 then break;
      low := low + 40;
      below := above;
      above := above * 6.4;
    } while degrees > low + 40;
    return below + (above - below) * (degrees - low) / 40;
  }
}

/* ---------------------------------------------------------------- checks */

namespace Pump.Checks {

  boolean within_limits() =
    flow <= 900 and head <= 15.0 and temperature >= -10 and temperature <= 140;

  // Cold water must not freeze, and hot water must not boil.
  boolean stays_liquid() =
    medium = "water" ->
    temperature > 0 and Pump.Hydraulics.steam_bar(temperature) < head;

  boolean seal_suits() =
    (temperature > 120 xor temperature < 0) -> seal = "Double mechanical";

  boolean material_suits() =
    (medium = "milk" <-> material = "Stainless steel 316") or
    not (medium = "milk" or medium = "sea water");

  /* The name of the first check that fails. The functions are called by
     their names, which are texts; a function may be missing. */
  string first_fault() {
    string names := "within_limits,stays_liquid,seal_suits,material_suits,house_rules,";
    integer from := 0;
    integer comma := 0;
    string name := "";
    for (comma := String.IndexOf(names, ","); comma >= 0;
         comma := String.IndexOfNext(names, ",", from)) {
      name := String.SubString(names, from, comma - from);
      if Calc.HasFunction("Pump.Checks", name) and
         not Calc.CallBooleanFunction("Pump.Checks", name)
        return name;
      from := comma + 1;
    }
    return "";
  }
}

/* ----------------------------------------------------------------- plate */

namespace Pump.Plate {

  string number(float value, string unit) {
    string digits := System.Float2String(System.Trunc(value * 10.0) / 10.0);
    if String.EndsWith(digits, ".0") then
      digits := String.SubString(digits, 0, String.Length(digits) - 2);
    return digits + " " + unit;
  }

  string line_1() = Pump.Plate.number(System.Int2Float(flow), "l/min");
  string line_2() = Pump.Plate.number(head, "bar") + ", max. " +
    System.Int2String(System.Min(temperature + 10, 140)) + " C";

  /* The text for the plate: that of the customer, or the material, in
     capitals and in quotes. */
  string text() {
    string plate := name_plate;
    if String.Equal(String.ToLower(plate), "custom") or String.Length(plate) = 0
      plate := String.Replace(material, "Stainless steel", "Inox");
    if String.Length(plate) > 24 {
      plate := String.SubString(plate, 0, 23);
      plate := String.Concat(plate, ".");
    }
    return "\"" + String.ToUpper(plate) + "\"\n" +
      Pump.Plate.line_1() + "\t" + Pump.Plate.line_2() + "\\" +
      System.GetDateTime("%Y-%m");
  }
}

/* ------------------------------------------------------------ the engine */

namespace Pump.Choice {

  /* Selects the smallest sufficient motor by trying one after the other.
     The class of a number is its index among the values that the rules
     distinguish. */
  boolean smallest_motor() {
    integer index := 0;
    integer last := CtrlMngr.GetDomainSize("motor") - 1;
    integer answer := CtrlMngr.CTRL_MNGR_ERROR();
    for (index := 0; index <= last; index := index + 1) {
      if CtrlMngr.GetState("motor", index) <> CtrlMngr.VALUE_BLOCKED() {
        answer := CtrlMngr.AssignValue("motor", index, false);
        if answer = CtrlMngr.CTRL_MNGR_SUCCESS() and Pump.Hydraulics.motor_is_enough()
          return true;
      }
    }
    answer := CtrlMngr.RemoveSelection("motor", true, true, true);
    return false;
  }

  // How far the flow can grow without reaching the next class.
  integer flow_reserve() {
    integer class := CtrlMngr.GetIntIntervalIndex("flow", flow);
    integer high := CtrlMngr.GetIntIntervalHigh("flow", class);
    return high = CtrlMngr.INT_INFINITY() ? -1 : high - flow;
  }

  boolean head_is_known() =
    CtrlMngr.GetSelectedFloatValue("head") <> CtrlMngr.FLOAT_NOT_ASSIGNED();

  // Sets the values that the customer has sent.
  void take_over() {
    integer done := 0;
    if Environment.Contains("flow") then
      done := done + CtrlMngr.AssignInt("flow", Environment.GetInteger("flow"), true);
    if Environment.Contains("head") then
      done := done + CtrlMngr.AssignFloat("head", Environment.GetDecimal("head"), true);
    if Environment.Contains("medium") then
      done := done + CtrlMngr.AssignString("medium", Environment.GetString("medium"), true);
    if done <> 0 then Environment.SetInteger("refused", done);
  }
}
