/* A touring coach, split over files: the main file.

   norvane-pm rules coach.pm
   norvane-pm rules -DARTICULATED coach.pm

   Each file holds the constants, types, variables and rules of one subject;
   sections may come as often as they like. */

/* What differs from market to market. Set from outside: -DMARKET_LENGTH=15
   and so on. */



/* One choice needs another. */
/* The body of the coach. */

constant
  SECTIONS : 1;

type
  Paint : ["{body}white", "{body}black", "{body}silver"];

variable
  public paint    : Paint;
  public length   : [0..13];
  public high     : boolean;
  public sections : array SECTIONS of {
    public  doors : [0..3];
    public  wc    : boolean;
    private steps : boolean;
  rule
    steps <-> high and doors > 0;
    ((wc)->( doors >= 1));
  };

rule
  length >= 10;
  (sum i in [0..SECTIONS - 1] : (sections[i].doors)) >= 1;
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
  ((kw > 320)->( fuel = diesel and retarder));
  ((fuel = battery)->( not high and kw <= 250));
/* Seats. */

type
  Cover : ["{seat}black", "{seat}red"];

variable
  public  cover    : Cover;
  public  seats    : [0..80];
  public  kitchen  : optional {
    public fridge : boolean;
    public ovens  : [0..2];
  rule
    ovens > 0 -> fridge;
  };
  private crowded  : boolean;

rule
  seats <= length * 5 + (if high then 10 else 0);
  crowded <-> seats > 50;
  ((crowded)->( (sum i in [0..SECTIONS - 1] : (sections[i].doors)) >= 2));
  ((kitchen = SOME)->( not crowded and sections[SECTIONS - 1].wc));
  ((cover = "{seat}red")->( paint <> "{body}silver"));

variable
  public brochure_colour : string;

rule
  /* What the brochure calls the colour is what the body is painted in. The
     part of a label in braces is not shown: seats come in black too. */
  brochure_colour = paint;
