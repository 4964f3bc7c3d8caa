# The first token stands for the program name.
optiontool
-out=report.txt    // where it goes
-D "GREETING=hello world"
-jobs 0x10
/* files, found next to this manifest */ top.v lib/cells.v
+trace+clk +plusarg
