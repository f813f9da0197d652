/* A telecom rack: records in arrays, and records that may be absent.

   A rack has shelves, a shelf has slots, a slot may hold a card, and a card
   may have an encryption unit. The rules of a record hold for each instance
   of it. */

constant
  SHELVES   : 2;
  SLOTS     : 2;
  MAX_PORTS : 8;
  SHELF_W   : 150;              /* what the supply of a shelf can deliver */

type
  CardKind : [line_card, switch_card, power_card];
  Cooling  : [passive, fan_tray, liquid];

  Card : {
    public  kind   : CardKind;
    public  ports  : [0..MAX_PORTS];
    public  watts  : [0..120];
    public  crypto : optional {
      public  cores    : [0..4];
      private licensed : boolean;
    rule
      licensed <-> cores > 0;
      cores > 2 -> watts >= 40;          /* of the card that it sits on */
    };
    private hot    : boolean;
  rule
    hot <-> watts > 80;
    kind = power_card -> ports = 0 and crypto = NONE;
  };

  Shelf : {
    public cooling : Cooling;
    public slots   : array SLOTS of {
      public card    : optional Card;
      public blanked : boolean;
    rule
      blanked <-> card = NONE;           /* an empty slot is covered */
    };
  rule
    /* The cards must not draw more power than the supply delivers. */
    (sum s in [0..SLOTS - 1] :
      (if slots[s].card = SOME then slots[s].card.SOME.watts else 0)) <= SHELF_W;

    /* A hot card needs active cooling. */
    exist s in [0..SLOTS - 1] : (slots[s].card = SOME and slots[s].card.SOME.hot)
      -> cooling <> passive;
  };

variable
  public  shelves     : array SHELVES of Shelf;
  public  spare       : optional Card;
  public  redundant   : boolean;
  private power_cards : [0..SHELVES * SLOTS];

rule
  power_cards = sum i in [0..SHELVES - 1] : (sum s in [0..SLOTS - 1] :
    (if shelves[i].slots[s].card = SOME and
        shelves[i].slots[s].card.SOME.kind = power_card then 1 else 0));
  redundant -> power_cards >= 2;

  /* All shelves are cooled in the same way. */
  forall i in [1..SHELVES - 1] : (shelves[i].cooling = shelves[i - 1].cooling);

  spare = SOME -> spare.SOME.kind <> power_card;
