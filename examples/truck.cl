/* Calculations for the truck programme: prices, weights, texts and checks,
   and functions for the order system.

     norvane-pm calc check --model truck.pm truck.cl */

/* --------------------------------------------------------------- weights */

namespace Truck.Weight {

  // In kilograms, like all weights here.
  float of_frame() {
    float per_metre := 95.0;
    if frame = "heavy_frame" then per_metre := 128.0;
    else if frame = "light_frame" then per_metre := 74.0;
    else if frame = "low_frame" then per_metre := 88.5;
    return per_metre * (wheelbase + overhang + 14) / 10;
  }

  float of_engine() {
    float kg := 0.0;
    switch engine {
    case "d_8_250":
    case "d_8_320":
    case "g_9_300":
      kg := 690.0;
      break;
    case "d_11_380":
    case "d_11_430":
      kg := 960.0;
      break;
    case "d_13_480":
    case "d_13_540":
    case "g_13_460":
      kg := 1110.0;
      break;
    case "d_16_650":
      kg := 1290.0;
      break;
    default:
      kg := System.Int2Float(power_kw) * 2.6;
    }
    return kg + (engine_brake ? 34.5 : 0.0) + (encapsulation ? 61.0 : 0.0);
  }

  float of_axle(integer i) {
    float kg := 0.0;
    if not axles[i].fitted then return 0.0;
    switch axles[i].kind {
    case "steered":
      kg := 640.0;
      break;
    case "driven":
      kg := 780.0 + (hub_reduction ? 140.0 : 0.0);
      break;
    case "dead":
      kg := 520.0;
    }
    if axles[i].twin then kg := kg + 4 * 58.0; else kg := kg + 2 * 58.0;
    if axles[i].suspension = "leaf" then kg := kg + 75.0;
    if axles[i].sensor = "SOME" and (axles[i].sensor.SOME.wear or axles[i].sensor.SOME.pressure)
      kg := kg + 0.8;
    return kg;
  }

  float of_axles() {
    float kg := 0.0;
    integer i := 0;
    for (i := 0; i < 4; i := i + 1) {
      kg := kg + Truck.Weight.of_axle(i);
    }
    return kg;
  }

  // Diesel weighs 0.84 a litre; a bottle weighs more than what is in it.
  float of_fuel(float fill) | 1.0 {
    float kg := 0.0;
    integer i := 2;
    do {
      if tanks[i].fitted then {
        if tanks[i].made = "gas_bottles" or tanks[i].made = "cryogenic_tank" then
          kg := kg + tanks[i].litres * 1.1;
        else
          kg := kg + fill * tanks[i].litres * 0.84;
      }
      i := i - 1;
    } while i >= 0;
    return kg + urea_litres * 1.09 * fill;
  }

  float of_cab() {
    float kg := 0.0;
    integer seat_count := 1;
    switch cab {
    case "day_cab": kg := 820.0; break;
    case "extended_cab": kg := 905.0; break;
    case "sleeper_low": kg := 1010.0; break;
    case "sleeper_high": kg := 1105.0; break;
    case "crew_cab":
      kg := 1190.0;
      seat_count := seat_count + crew_seats;
      break;
    }
    if passenger_seat = "SOME" then seat_count := seat_count + 1;
    if lower_bed <> "no_bed" then kg := kg + 18.0;
    if upper_bed <> "no_bed" then kg := kg + 14.0;
    return kg + 31 * seat_count;
  }

  float empty() =
    Truck.Weight.of_frame() + Truck.Weight.of_engine() + Truck.Weight.of_axles() +
    Truck.Weight.of_fuel(0.1) + Truck.Weight.of_cab() + body_kg;

  float payload_kg() =
    System.Fmax(gross_tonnes * 1000.0 - Truck.Weight.empty() - Truck.Weight.of_fuel(0.9), 0);
}

/* ---------------------------------------------------------------- prices */

namespace Truck.Price {

  /* The order system knows the list prices, by the number of the option. */
  float list_price(string option) : external "prices/list";

  float of_option(boolean chosen, string option) =
    chosen ? Truck.Price.list_price(option) : 0.0;

  float comfort() {
    float sum := 0.0;
    sum := sum + Truck.Price.of_option(fridge, "fridge");
    sum := sum + Truck.Price.of_option(microwave, "microwave");
    sum := sum + Truck.Price.of_option(coffee_maker, "coffee_maker");
    sum := sum + Truck.Price.of_option(climate_auto xor climate_manual, "climate");
    sum := sum + Truck.Price.of_option(driver_seat.heated, "seat_heating");
    sum := sum + Truck.Price.of_option(
      passenger_seat = "SOME" and passenger_seat.SOME.heated, "seat_heating");
    if driver_seat.trim = "leather" or driver_seat.trim = "half_leather" then
      sum := sum + Truck.Price.list_price("leather");
    return sum;
  }

  // A contract is paid monthly; the first five years are cheaper.
  float contract() {
    float rate := 0.0;
    integer first := System.Min(months, 60);
    if service = "no_service" then return 0;
    rate := 38.0 + km_a_year * 0.0011 + 12 * (uptime_pledge ? 1 : 0);
    if service = "full_service" then rate := rate * 1.9;
    return rate * first + rate * 1.25 * (months - first);
  }

  // Never above what the customer's contract allows.
  float allowed_discount() {
    float most := Environment.GetDecimal("discount_limit") | 0.12;
    return System.Fmin(discount, customer_no >= 10000 ? 0.35 : most);
  }

  float total() {
    float sum := Truck.Price.list_price(engine) + Truck.Price.list_price(cab) +
      Truck.Price.list_price(gearbox);
    integer i := 1;
    for (i := 1; i < 4; i := i + 1)
      if axles[i].fitted then
        sum := sum + Truck.Price.list_price("axle_" + axles[i].kind);
    sum := sum + Truck.Price.comfort() + Truck.Price.of_option(body <> "no_body", body);
    sum := sum * (1.0 - Truck.Price.allowed_discount());
    return System.Floor(sum / 10.0) * 10.0 + Truck.Price.contract();
  }

  /* The text from which the order system makes the lines of an offer. */
  integer conditions() {
    string last := "";
    if metallic then last := Pricing.AddVariantCondition("METALLIC");
    if two_tone then last := Pricing.AddVariantCondition("TWO_TONE");
    if lettering then last := Pricing.SetPricingFactor("LETTERING", order_text = "fleet" ? 0.6 : 1);
    if not String.StartsWith(last, "ERR") then return Pricing.AddAssignmentConditions();
    return -1;
  }
}

/* ----------------------------------------------------------------- texts */

namespace Truck.Text {

  // "d_13_540" is a diesel of 13 litres and 540 horsepower.
  string engine_name() {
    integer bar := String.IndexOf(engine, "_");
    integer next := String.IndexOfNext(engine, "_", bar + 1);
    string litres := String.SubString(engine, bar + 1, next - bar - 1);
    string power := String.SubString(engine, next + 1, String.Length(engine) - next - 1);
    return (String.StartsWith(engine, "d") ? "Diesel " : "Gas ") + litres + " l, " + power + " hp";
  }

  string tonnes() {
    switch language {
    case "Deutsch": return "Tonnen";
    case "Italiano": return "tonnellate";
    case "Norsk": return "tonn";
    case "Suomi": return "tonnia";
    }
    return "tonnes";
  }

  string model_name() {
    string name := vehicle = "tractor" ? "T" : "R";
    name := name + System.Int2String(gross_tonnes) + "-" +
      System.Int2String((System.String2Int(String.SubString(engine, 2, 2)) * 100 + 50) / 100 % 100);
    if String.Compare(name, "R18-8") = 0 or String.EndsWith(name, "-16") then
      name := name + " Special";
    return name;
  }

  string summary() {
    string text := Truck.Text.model_name() + ": " + Truck.Text.engine_name() + ", " +
      System.Int2String(gross_tonnes) + " " + Truck.Text.tonnes();
    if colour <> "white" and brochure_colour <> "" then
      text := text + "\n" + brochure_colour;
    return String.Replace(text, "  ", " ");
  }
}

/* ---------------------------------------------------------------- checks */

namespace Truck.Check {

  boolean payload_is_enough() =
    body = "no_body" or Truck.Weight.payload_kg() >= 2000.0;

  boolean front_axle_holds() =
    axles[0].tonnes * 1000.0 >=
    Truck.Weight.of_engine() + Truck.Weight.of_cab() * 0.8 + Truck.Weight.of_frame() * 0.45;

  boolean lamps_suit() = headlamp <> "halogen" -> day_lamps or light_sensor;

  boolean belts_are_seen() =
    passenger_seat = "SOME" -> (driver_seat.belt_red <-> passenger_seat.SOME.belt_red);

  boolean charge_suffices() {
    integer amps := 4 * work_lamps + 3 * beacons + (inverter ? 25 : 0);
    return amps <= 100 or alternator_150 and battery <> "battery_140";
  }

  /* Records the faults in the environment, and returns their number. */
  integer all() {
    integer faults := 0;
    Environment.Remove("faults");
    if not Truck.Check.payload_is_enough() then {
      Environment.AddString("faults", "payload: " +
        System.Int2String(System.Float2Int(System.Ceil(Truck.Weight.payload_kg()))) + " kg");
      faults := faults + 1;
    }
    if not Truck.Check.front_axle_holds() then {
      Environment.AddString("faults", "front axle");
      faults := faults + 1;
    }
    if not (Truck.Check.lamps_suit() and Truck.Check.belts_are_seen()) then {
      Environment.AddString("faults", "lamps or belts");
      faults := faults + 1;
    }
    if not Truck.Check.charge_suffices() and
       not Environment.ContainsString("accepted", "electrics") then {
      Environment.AddString("faults", "electrics");
      faults := faults + 1;
    }
    Environment.SetBool("checked", faults = 0);
    return faults;
  }
}

/* ----------------------------------------------------------------- order */

namespace Truck.Order {

  void number_of(string kind) {
    integer next := Environment.MapContainsKey("numbers", kind)
      ? Environment.MapLookupInteger("numbers", kind) + 1 : 1;
    Environment.MapSetInteger("numbers", kind, next);
    Environment.SetString("number", kind + "/" + System.Int2String(next));
  }

  // A demonstrator is white, insured, and serviced by us.
  void demonstrator() {
    order_text := "demonstrator";
    colour := "white";
    service := "full_service";
    months := 24;
    km_a_year := 60000;
    training_days := 1;
    discount := 0.25;
    buy_back := true;
  }

  boolean release() {
    if Truck.Check.all() > 0 or CtrlMngr.HasConflicts() then return false;
    Truck.Order.number_of(order_text = "fleet" ? "F" : "S");
    Environment.SetDecimal("total", Truck.Price.total());
    Environment.SetFloat("payload", Truck.Weight.payload_kg());
    Environment.SetString("summary", Truck.Text.summary());
    Environment.MapSetBool("released", Environment.GetString("number"), true);
    return Environment.GetBool("checked") and Truck.Price.conditions() >= 0;
  }
}
