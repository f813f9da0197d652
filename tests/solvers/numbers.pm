/* What random models do not have: numbers of many values, negative ones, arithmetic that wraps around
   in 32 bits, operations on bits, types of one value, and records and arrays compared as wholes. */
constant BIG : 2000000000;
type Pair : { public a : [0..3]; public b : optional [0..2]; };
     One : [only];
variable
  public wide  : [0..1000];
  public small : [0..5];
  public one   : One;
  public none  : [0..0];
  public p, q  : Pair;
  public x, y  : array 2 of One;
rule
  wide * 7 - small * 11 >= 2300 - 17 * 3;
  small > 0 -> wide - 400 < 0 - small;
  wide < 340;
  (small * BIG < 0) <-> (small = 2 or small = 4);
  (wide and 3) = (small or 1) - 1 or (wide xor small) > 340;
  p = q;
  p <> q or x = y;
  p.b.SOME > 0 -> p.b = SOME;
  -small * none = 0;
