/* A range of pumps: unbounded numbers and texts.

   A variable of type integer, float or string has no list of values of its
   own. The values that the rules compare it with divide it into classes:
   below the lowest, each value, between two of them, above the highest; for
   a string each text, and all others. */

constant
  COLD      : -10;
  HOT       : 90;
  ONE_STAGE : 2.5;                       /* bar */
  MAX_HEAD  : ONE_STAGE * 6.0;

type
  Material : ["Cast iron", "Stainless steel 316", bronze];
  Motor    : [kw_1, kw_3, kw_7, kw_15];
  Seal     : [lip, mechanical, "Double mechanical"];

variable
  public  flow        : integer;         /* litres a minute */
  public  head        : float;           /* bar */
  public  temperature : integer;         /* degrees */
  public  medium      : string;
  public  name_plate  : string;
  public  material    : Material;
  public  motor       : Motor;
  public  seal        : Seal;
  private stages      : [0..6];
  private exotic      : boolean;

rule
  /* Limits of the range. */
  flow > 0 and flow <= 900;
  head >= 0.5 and head <= MAX_HEAD;
  temperature >= COLD and temperature <= 140;

  /* The motor limits the flow, and the head decides on the stages. */
  case motor of
    kw_1 then flow <= 60 |
    kw_3 then flow <= 200 |
    kw_7 then flow <= 450 |
    default true
  esac;
  stages = (if head < ONE_STAGE then 1 else if head < 7.5 then 3 else 6);
  stages - 2 <= order(motor) * 2;

  /* Heat is hard on seals. */
  temperature > HOT -> seal = mechanical or seal = "Double mechanical";
  temperature > 120 or temperature < 0 -> seal = "Double mechanical";

  /* The medium decides on the material. */
  medium = "sea water" -> material <> "Cast iron";
  medium = "milk" -> material = "Stainless steel 316" and seal <> lip;
  exotic <-> not (medium = "water" or medium = "sea water" or medium = "milk");
  exotic and head > 10 -> motor = kw_15;

  /* The plate names the material, unless the customer wants another text. */
  name_plate = "Custom" or name_plate = material;
