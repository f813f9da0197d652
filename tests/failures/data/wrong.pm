#include "part.pm"
constant MOST : 2;
variable public fan : Fan;
rule fan.speed = "fast";
