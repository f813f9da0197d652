/* Calculations for the bicycle: a first file.

     norvane-pm calc check --model bicycle.pm bicycle.cl

   A calculation is a set of functions in namespaces. They read and set what
   the customer has chosen in the model, and call each other and the built-in
   functions (norvane-pm calc builtins). */

namespace Bicycle {

  // A function that is one expression. An enumerated variable reads as the
  // text of its label.
  boolean is_light() = frame = "carbon" and not lights;

  float frame_price() {
    float price := 0.0;
    switch frame {
    case "steel":
      price := 349.0;
      break;
    case "aluminium":
      price := 449.0;
      break;
    case "carbon":
      price := 1290.0;
      break;
    }
    return price;
  }

  /* The price with all parts. The expression after the bar is the result if
     the price cannot be computed. */
  float price(float discount) | 0.0 {
    float total := Bicycle.frame_price();
    total := total + gears * 12.5 + bags * 39.0;
    if lights then total := total + (dynamo ? 85.0 : 25.0);
    return System.Round(total * (1.0 - discount));
  }

  /* The advice of the shop to this customer; empty if there is none. */
  string advice() {
    string text := "";
    if rider_kg > 110 and frame <> "steel" then
      text := "Take a steel frame. ";
    if bags > 2 {
      text := text + "With " + System.Int2String(bags) + " bags, mind the load";
      if gears < 7 then
        text := text + ", and take more gears";
      text := text + ".";
    }
    return text;
  }

  // Resets the choices to the most popular ones.
  void usual_choice() {
    frame := "aluminium";
    gears := 7;
    lights := true;
    dynamo := true;
    bags := 0;
  }

  // An external function: the evaluator knows what the text refers to.
  string brochure_text() : external "texts.xml#bicycle";
}
