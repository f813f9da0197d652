/* A bicycle: a first model.

   Constants and types name things, variables are what a customer chooses,
   and rules tell which choices go together. */

constant
  MAX_BAGS : 4;

type
  Frame : [steel, aluminium, carbon];

variable
  public  frame    : Frame;
  public  gears    : [0..11];
  public  bags     : [0..MAX_BAGS];
  public  lights   : boolean;
  public  dynamo   : boolean;
  public  rider_kg : integer;
  private rack     : boolean;

rule
  /* Lights need power. */
  lights -> dynamo;

  /* A rack is there if there is something to put on it, and a carbon
     frame has no eyelets for it. */
  rack <-> bags > 0;
  not (rack and frame = carbon);

  /* Heavy luggage needs low gears. */
  if bags > 2 then gears >= 7;

  /* Only the values of rider_kg that rules mention make a difference. */
  rider_kg >= 40;
  rider_kg > 110 -> frame = steel and gears <> 1;
