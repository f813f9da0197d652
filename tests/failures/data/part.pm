/* Included by main.pm. */
type
  Fan : { public speed : [0..MOST]; private quiet : boolean; rule speed > 1 -> not quiet; };
