/* A touring coach, split into files: the main file.

   norvane-pm rules coach.pm
   norvane-pm rules -DARTICULATED coach.pm

   Each file contains the constants, types, variables and rules of one
   subject; a section may occur any number of times. */

#include "market.h"
#include "body.pm"
#include "drive.pm"
#include "seating.pm"

variable
  public brochure_colour : string;

rule
  /* The colour in the brochure is the paint of the body. The part of a label
     in braces is not shown: there is a black seat too. */
  brochure_colour = paint;
