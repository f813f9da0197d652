namespace Main {
  float share() = System.Int2Float(flow) / 450.0;
  integer stages(float bar) | 1 {
    integer n := 1;
    while n * 2.5 < bar and n < 6 { n := n + 1; }
    switch seal {
    case "lip": n := 1; break;
    default: n := n * 2;
    }
    return n;
  }
}
