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
  NEEDS(crowded, (sum i in [0..SECTIONS - 1] : (sections[i].doors)) >= MARKET_DOORS);
  NEEDS(kitchen = SOME, not crowded and sections[SECTIONS - 1].wc);
  NEEDS(cover = "{seat}red", paint <> "{body}silver");
