/* The body of the coach. */

constant
#ifdef ARTICULATED
  SECTIONS : 2;
#else
  SECTIONS : 1;
#endif

type
  Paint : ["{body}white", "{body}black", "{body}silver"];

variable
  public paint    : Paint;
  public length   : [0..MARKET_LENGTH];
  public high     : boolean;
  public sections : array SECTIONS of {
    public  doors : [0..3];
    public  wc    : boolean;
    private steps : boolean;
  rule
    steps <-> high and doors > 0;
    NEEDS(wc, doors >= 1);
  };

rule
  length >= 10;
  (sum i in [0..SECTIONS - 1] : (sections[i].doors)) >= 1;
#ifdef ARTICULATED
  length >= 13 and not high;
#endif
