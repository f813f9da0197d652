#line 3 "a.pm"
constant N : 2; S : "a\"b"; F : 1.5;
type Color : [red, green, "deep blue"]; Part : { private on : boolean; size : [0..N]; c : Color; rule on -> size > 0; };
variable public p : array N of Part; o : optional Color; i, j : integer; f : float; s : string;
rule forall k in [0..N-1] : (p[k].size = 1 or p[k].c <> red);
exist k in [0..1] : (p[k].c = red xor p[k].c <> green);
sum k in [0..1] : (p[k].size) <= 3 and product k in [0..1] : (p[k].size + 1) > 1;
i < 3 <-> f >= 2.5 and s = "x"; s <> S; i = j; f < F;
if p[0].c = red then i > 1 else i = 7;
case p[0].c of red then i = 1 | green then true | default false esac;
order(p[1].c) < 2; 
