/* Calculations for the coach: configuration control and presentation.

     norvane-pm calc check --model coach.pm coach.cl
     norvane-pm calc check --model coach.pm -DARTICULATED coach.cl

   The model is split into files and uses macros; calculations see the
   preprocessed model. */

namespace Coach {

  // Labels are compared without their part in braces.
  boolean is_plain() = paint = "white" and cover = "black";

  integer doors() {
    integer n := sections[0].doors;
    return n;
  }

  boolean is_comfortable() =
    kitchen = "SOME" and kitchen.SOME.fridge and (sections[0].wc or seats <= 30);

  /* Litres for a day of 600 km, or kilowatt hours. */
  float fuel_a_day() {
    float base := 0.22 * kw ^ 0.5 * length;
    switch fuel {
    case "diesel":
      break;
    case "gas":
      base := base * 1.2;
      break;
    case "battery":
      base := base * 10 / 3;
      break;
    default:
      base := CtrlMngr.FLOAT_INFINITY();
    }
    return base;
  }

  // The price for the weekday is set by the host, and may be missing.
  float day_price() {
    float price := Environment.GetFloat("price") | 780.0;
    if Environment.ContainsString("holidays", System.GetDateTime("%m-%d")) then
      price := price * 1.35;
    return price;
  }
}

namespace Coach.Control {

  integer selected(string name) =
    CtrlMngr.GetSelectedValue(name);

  /* The first value that the customer can still have, or -1. */
  integer first_free(string name) {
    integer value := CtrlMngr.GetMin(name);
    integer state := CtrlMngr.VALUE_BLOCKED();
    if CtrlMngr.GetVarIndex(name) < 0 then return -1;
    while value <= CtrlMngr.GetMax(name) {
      state := CtrlMngr.GetState(name, value);
      if state = CtrlMngr.VALUE_SELECTABLE() or state = CtrlMngr.VALUE_FORCEABLE() then
        break;
      value := value + 1;
    }
    return value > CtrlMngr.GetMax(name) ? -1 : value;
  }

  /* Selects as many seats as possible, and the length that they need. */
  boolean most_seats() {
    integer seat_limit := CtrlMngr.GetForcedMax("seats");
    integer result := CtrlMngr.CTRL_MNGR_ERROR();
    for (result := CtrlMngr.SetMin("seats", seat_limit, true);
         result <> CtrlMngr.CTRL_MNGR_SUCCESS() and seat_limit > 0;
         result := CtrlMngr.SetMin("seats", seat_limit, true))
      seat_limit := seat_limit - 1;
    if result = CtrlMngr.CTRL_MNGR_SUCCESS() then
      result := CtrlMngr.SetMax("length", Coach.Control.first_free("length"), false);
    return not CtrlMngr.HasConflicts();
  }

  // Excludes white, unless the customer has selected it.
  void colourful() {
    integer white := CtrlMngr.GetValueIndex("paint", "white");
    if CtrlMngr.GetState("paint", white) = CtrlMngr.VALUE_USER_SELECTED() then ;
    else CtrlMngr.DisjoinValue("paint", white, false);
  }

  string state_text(integer state) {
    if state = CtrlMngr.VALUE_USER_SELECTED() then return "*";
    if state = CtrlMngr.VALUE_SYS_SELECTED() then return "+";
    if state = CtrlMngr.VALUE_BLOCKED() then return "-";
    return state = CtrlMngr.VALUE_FORCEABLE() ? "?" : " ";
  }

  /* Name and state of each value of a variable, with the presentation's texts. */
  string list(string name, string layer) {
    integer value := 0;
    string lines := CtrlMngr.GetPresentation(name, layer) + ":\n";
    for (;;) {
      if value >= CtrlMngr.GetDomainSize(name) then break;
      lines := lines + Coach.Control.state_text(CtrlMngr.GetState(name, value)) + " " +
        CtrlMngr.GetPresentation(CtrlMngr.GetValueName(name, value), layer) + "\n";
      value := value + 1;
    }
    return lines;
  }

  /* True if the configuration is complete and one solution is left. */
  boolean finish() {
    integer answer := CtrlMngr.CompleteConf();
    if CtrlMngr.GetSolutionCount() <> 1.0 or answer <> CtrlMngr.CTRL_MNGR_SUCCESS() {
      CtrlMngr.ResetConf();
      return false;
    }
    Environment.SetDate("finished", System.GetDateTime("%Y-%m-%d"));
    return CtrlMngr.GetNoOfAssignedVars() = CtrlMngr.GetVarCount();
  }
}
