module m;
  wire w;
endmodule
