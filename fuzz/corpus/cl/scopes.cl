namespace N {
  integer f(integer a) | a + x { integer x := x; integer y := x + a; integer x := x; return x + y + a + z; }
  integer g() { return a + x; }
  integer h(integer a) = a + a.a + a[a] + b[a].a[a][c] + b.c.d;
  integer i() = a;
  void j(integer a) : external "a";
  integer k() | x { integer x; x.y := x; x := y; x[x] := x(x); }
}
