variable a, b : boolean; n : [0..9];
rule a -> n = 3;
  b -> colour = 3;
