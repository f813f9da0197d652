namespace N { void f() {
  if a - b; if a (b); if a (b) c; if (a) (b); if a then -b; if a b := c; if a * b - c;
  while a - b; while a (b); while a b; if not a - b c; if a "s"; if -a -b c;
  if a if b c; else d; if a then if b c; else d; else e; while a if b c; else d;
} }
