/* A model with a little of everything, so that everything has something to ask for. */
constant
  MOST  : 3;
  SHARE : 0.5;
#include "part.pm"
type
  Seal : [lip, mechanical, "Double mechanical"];
variable
  public  fans   : array 2 of Fan;
  public  spare  : optional Fan;
  public  flow   : integer;
  public  head   : float;
  public  medium : string;
  public  seal   : Seal;
rule
  flow > 0 and flow <= 900;
  head >= SHARE -> seal = mechanical;
  medium = "milk" -> seal <> lip;
  forall i in [0..1] : (fans[i].speed < MOST or flow > 10);
  case seal of lip then flow < 60 | default true esac;
  spare = SOME -> head < 10.5;
