/* Engine and axles. */

type
  Fuel : [diesel, gas, battery];

variable
  public fuel     : Fuel;
  public kw       : integer;
  public axles    : [0..4];
  public retarder : boolean;

rule
  axles = SECTIONS + (if length > 12 then 2 else 1);
  kw >= 200;
  NEEDS(kw > 320, fuel = diesel and retarder);
  NEEDS(fuel = battery, not high and kw <= 250);
