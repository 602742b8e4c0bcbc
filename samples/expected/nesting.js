
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 106,
			"targetUri" : "deep",
			"responseUri" : "/8",
			"value" : 
			{
				"type" : "object",
				"properties" : 
				[
					{
						"type" : "property",
						"name" : "rows",
						"value" : 
						{
							"type" : "array",
							"array_type" : "strict",
							"value" : 
							[
								{
									"type" : "object",
									"properties" : 
									[
										{
											"type" : "property",
											"name" : "cells",

											"value" : 
											{
												"type" : "array",
												"array_type" : "strict",
												"value" : 
												[1.000000,
													{
														"type" : "array",
														"array_type" : "strict",
														"value" : 
														[
															{
																"type" : "object",
																"properties" : 
																[
																	{
																		"type" : "property",
																		"value" : false,
																		"name" : "leaf"
																	}
																]
															}
														]
													},"end"
												]
											}
										}
									]
								},

								{
									"version" : "AMF3",
									"type" : "object",
									"sealed_size" : 0,
									"have_dynamic" : true,
									"properties" : 
									[
										{
											"type" : "property",
											"name" : "list",
											"value" : 
											{
												"type" : "array",
												"dense_size" : 1,
												"value" : 

												[
													{
														"type" : "property",
														"name" : "note",
														"value" : 
														{
															"type" : "object",
															"sealed_size" : 0,
															"have_dynamic" : true,
															"properties" : 
															[
															]
														}
													},
													{
														"type" : "array",
														"dense_size" : 0,
														"value" : 
														[
														]
													}
												]
											}
										}
									]
								}
							]
						}
					},

					{
						"type" : "property",
						"name" : "last",
						"value" : 
						{
							"type" : "array",
							"array_type" : "ECMA",
							"value" : 
							[
								{
									"type" : "property",
									"name" : "o",
									"value" : 
									{
										"type" : "object",
										"properties" : 
										[
										]
									}
								}
							]
						}
					}
				]
			}
		}
	]
}

amf.content[0].targetUri = "deep";
amf.content[0].responseUri = "/8";
amf.content[0].value.properties[0].name = "rows";
amf.content[0].value.properties[0].value.value[0].properties[0].name = "cells";
amf.content[0].value.properties[0].value.value[0].properties[0].value.value[0] = 1.000000;
amf.content[0].value.properties[0].value.value[0].properties[0].value.value[1].value[0].properties[0].value = false; // "leaf"
amf.content[0].value.properties[0].value.value[0].properties[0].value.value[2] = "end";
amf.content[0].value.properties[0].value.value[1].properties[0].name = "list";
amf.content[0].value.properties[0].value.value[1].properties[0].value.value[0].name = "note";
amf.content[0].value.properties[1].name = "last";
amf.content[0].value.properties[1].value.value[0].name = "o";
