/* Calculations for the rack: records, arrays and optionals.

     norvane-pm calc check --model rack.pm rack.cl

   A path leads into the model as in a rule; indices may be expressions, and
   each must be there. What may be absent reads as the text "SOME" or
   "NONE". */

namespace Rack {

  integer shelf_count() = 2;
  integer slot_count() = 2;

  boolean is_used(integer shelf, integer slot) =
    shelves[shelf].slots[slot].card = "SOME";

  integer cards() {
    integer n := 0;
    integer i := 0;
    integer j := 0;
    for (i := 0; i < Rack.shelf_count(); i := i + 1)
      for (j := 0; j < Rack.slot_count(); j := j + 1)
        if Rack.is_used(i, j) then n := n + 1;
    return n;
  }

  // The power of one card. A card without crypto has no cores.
  integer card_watts(integer shelf, integer slot) | 0 {
    integer watts := 0;
    if not Rack.is_used(shelf, slot) then return 0;
    watts := shelves[shelf].slots[slot].card.SOME.watts;
    if shelves[shelf].slots[slot].card.SOME.crypto = "SOME" then
      watts := watts + 3 * shelves[shelf].slots[slot].card.SOME.crypto.SOME.cores;
    return watts;
  }

  integer shelf_watts(integer shelf) {
    integer sum := 0;
    integer j := 0;
    while j < Rack.slot_count() {
      sum := sum + Rack.card_watts(shelf, j);
      j := j + 1;
    }
    return sum;
  }
}

/* Prices, in a namespace below. */

namespace Rack.Price {

  float of_kind(string kind) {
    float price := 0.0;
    switch kind {
    case "line_card":
      price := 820.0;
      break;
    case "switch_card":
      price := 2450.0;
      break;
    case "power_card":
      price := 640.0;
    }
    return price;
  }

  float of_slot(integer shelf, integer slot) {
    float price := 0.0;
    if Rack.is_used(shelf, slot) {
      price := Rack.Price.of_kind(shelves[shelf].slots[slot].card.SOME.kind);
      price := price + 55 * shelves[shelf].slots[slot].card.SOME.ports;
    } else if shelves[shelf].slots[slot].blanked
      price := 9.5;
    else
      price := 0.0;
    return price;
  }

  float of_shelf(integer shelf) {
    float price := 310.0;
    integer j := 0;
    switch shelves[shelf].cooling {
    case "passive":
      break;
    case "fan_tray":
      price := price + 180.0;
      break;
    default:
      price := price + 1100.0;
      price := price * 1.02;                // pipes and work
      break;
    }
    for (; j < Rack.slot_count(); j := j + 1) {
      price := price + Rack.Price.of_slot(shelf, j);
    }
    return price;
  }

  float total() {
    float price := Rack.Price.of_shelf(0) + Rack.Price.of_shelf(1);
    string answer := "";
    if spare = "SOME" then price := price + Rack.Price.of_kind(spare.SOME.kind);
    if redundant then {
      answer := Pricing.AddVariantCondition("RACK_REDUNDANT");
      price := price * 1.15;
    }
    answer := answer + Pricing.SetPricingFactor("RACK_CARDS", System.Int2Float(Rack.cards()));
    return price;
  }
}

/* A list for the planners, kept in the environment. */

namespace Rack.Planning {

  void watts_by_shelf() {
    integer i := 0;
    Environment.Remove("watts");
    do {
      Environment.MapSetInteger("watts", System.Int2String(i), Rack.shelf_watts(i));
      i := i + 1;
    } while i < Rack.shelf_count();
  }

  boolean is_balanced() =
    System.Abs(Environment.MapLookupInteger("watts", "0") -
               Environment.MapLookupInteger("watts", "1")) <= 40;

  /* Every path in the model to the card of a slot, one per line. */
  string path_of(string variable_name) {
    integer node := CtrlMngr.GetPMNodeFromVariable(variable_name);
    string path := "";
    while node <> CtrlMngr.PM_ROOT() {
      path := "/" + CtrlMngr.GetPMNodeName(node) +
        "[" + System.Int2String(CtrlMngr.GetPMNodeIndex(node)) + "]" + path;
      node := CtrlMngr.GetPMNodeParent(node);
    }
    return path;
  }

  string paths() {
    string text := "";
    integer i := 0;
    for (i := 0; i < CtrlMngr.GetVarCount(); i := i + 1) {
      switch CtrlMngr.GetVarType(CtrlMngr.GetVarName(i)) {
      case CtrlMngr.VARTYPE_OPTIONAL():
        text := text + Rack.Planning.path_of(CtrlMngr.GetVarName(i)) + "\n";
        break;
      case CtrlMngr.VARTYPE_BOOL():
      case CtrlMngr.VARTYPE_ENUM():
      case CtrlMngr.VARTYPE_RANGE():
        break;
      default:
        return "not a variable of a rack: " + CtrlMngr.GetVarName(i);
      }
    }
    return text;
  }

  // The height is defined in namespaces named after the size of the cabinet.
  // A call cannot spell such a name, but can pass it as a text.
  integer height(string size) =
    Calc.HasFunction("Rack." + size, "height")
      ? Calc.CallIntegerFunction("Rack." + size, "height") : -1;
}

namespace Rack.19in.12U { integer height() = 12; }
namespace Rack.19in.24U { integer height() = 24; }

/* A namespace may be continued. */
namespace Rack {

  boolean same_cooling() = shelves[0].cooling = shelves[1].cooling;

  string label() =
    "rack/" + shelves[0].cooling + (Rack.same_cooling() ? "" : "/" + shelves[1].cooling) +
    (spare = "NONE" ? "" : "+spare");
}
