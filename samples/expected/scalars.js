
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 104,
			"targetUri" : "amf0",
			"responseUri" : "/9",
			"value" : 
			{
				"type" : "array",
				"array_type" : "strict",
				"value" : 
				[0.000000,-0.000000,3.500000,0.000000,179769313486231570814527423731704356798070567525844996598917476803157260780028538760589558632766878171540458953514382464234321326889464182768467546703537516986049910576551282076245490090389328944075868508455133942304583236903222948165808559332123348274797826204144723168738177180919299881250404026184124858368.000000,inf,-inf,nan,-nan,false,true,true,"","text",null,"undefined"
				]
			}
		},

		{
			"type" : "message",
			"length" : 111,
			"targetUri" : "amf3",
			"responseUri" : "/10",
			"value" : 
			{
				"version" : "AMF3",
				"type" : "array",
				"dense_size" : 23,
				"value" : 
				["undefined",null,false,true,0,127,128,16383,16384,2097151,2097152,268435327,536870783,536870528,536870655,-1.500000,inf,-inf,nan,-nan,"","text","café"
				]
			}
		},

		{
			"type" : "message",
			"length" : 19,
			"targetUri" : "mixed",
			"responseUri" : "/11",
			"value" : 
			{
				"type" : "array",
				"array_type" : "strict",
				"value" : 
				[
					{
						"version" : "AMF3",
						"value" : "undefined"
					},
					{
						"version" : "AMF3",
						"type" : "null",
						"value" : null
					},
					{
						"version" : "AMF3",
						"type" : "boolen",
						"value" : true
					},
					{
						"version" : "AMF3",
						"type" : "integer",
						"value" : 42
					},

					{
						"version" : "AMF3",
						"type" : "string",
						"value" : "ok"
					}
				]
			}
		}
	]
}

amf.content[0].targetUri = "amf0";
amf.content[0].responseUri = "/9";
amf.content[0].value.value[0] = 0.000000;
amf.content[0].value.value[1] = -0.000000;
amf.content[0].value.value[2] = 3.500000;
amf.content[0].value.value[3] = 0.000000;
amf.content[0].value.value[4] = 179769313486231570814527423731704356798070567525844996598917476803157260780028538760589558632766878171540458953514382464234321326889464182768467546703537516986049910576551282076245490090389328944075868508455133942304583236903222948165808559332123348274797826204144723168738177180919299881250404026184124858368.000000;
amf.content[0].value.value[5] = inf;
amf.content[0].value.value[6] = -inf;
amf.content[0].value.value[7] = nan;
amf.content[0].value.value[8] = -nan;
amf.content[0].value.value[9] = false;
amf.content[0].value.value[10] = true;
amf.content[0].value.value[11] = true;
amf.content[0].value.value[12] = "";
amf.content[0].value.value[13] = "text";
amf.content[0].value.value[14] = null;
amf.content[0].value.value[15] = "undefined";
amf.content[1].targetUri = "amf3";
amf.content[1].responseUri = "/10";
amf.content[1].value.value[0] = "undefined";
amf.content[1].value.value[1] = null;
amf.content[1].value.value[2] = false;
amf.content[1].value.value[3] = true;
amf.content[1].value.value[4] = 0;
amf.content[1].value.value[5] = 127;
amf.content[1].value.value[6] = 128;
amf.content[1].value.value[7] = 16383;
amf.content[1].value.value[8] = 16384;
amf.content[1].value.value[9] = 2097151;
amf.content[1].value.value[10] = 2097152;
amf.content[1].value.value[11] = 268435327;
amf.content[1].value.value[12] = 536870783;
amf.content[1].value.value[13] = 536870528;
amf.content[1].value.value[14] = 536870655;
amf.content[1].value.value[15] = -1.500000;
amf.content[1].value.value[16] = inf;
amf.content[1].value.value[17] = -inf;
amf.content[1].value.value[18] = nan;
amf.content[1].value.value[19] = -nan;
amf.content[1].value.value[20] = "";
amf.content[1].value.value[21] = "text";
amf.content[1].value.value[22] = "café";
amf.content[2].targetUri = "mixed";
amf.content[2].responseUri = "/11";
amf.content[2].value.value[0].value = "undefined";
amf.content[2].value.value[1].value = null;
amf.content[2].value.value[2].value = true;
amf.content[2].value.value[3].value = 42;
amf.content[2].value.value[4].value = "ok";
