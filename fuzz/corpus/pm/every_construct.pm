constant
  N : 2; HALF : 0.5; TEXT : "\"a\" <b> & 'c'\t\\\n.\r €é";
type
  Flag : boolean; Real : float; Whole : integer; Text : string; Level : [0..N * 2];
  Color : [red, "dark grey", "", "<&ß>"];
  Cube : array N of array 3 of optional optional Level;
  Box : { width, depth : [0..9]; private inner : { private on : boolean; rule on; }; rule width > depth; inner.on; };
  Empty : { };
variable
  public a, b : Flag; private c, d : [left, right];
rule
  a;
  a and b and (c and d);
  (a or b) or (c or d) or a and (b or c);
  a xor (b xor c);
  a + (b + 1) + 2 * (c * d);
  a - (b - c) - -1 = -a;
  a -> (b -> c) <-> not d;
  a < 1 or a <= -2147483647 or a > 3 or a >= 2147483647 or a = 5 or a <> 6;
  a < 2.5 and a <> -0.000001;
  a = "" or a <> "é ";
  true = false;
  boxes[N - 1].inner.on > cube[a][b][1];
  order(color) = level[0][1].x;
  if a then b else c;
  forall i in [0..N] : (exist j in [i..9] : (sum k in [0..1] : (k) > product l in [j..2] : (l)));
  case boxes[1].on of true then a | false then case b of 1 then c | default 2 esac | default d esac;
